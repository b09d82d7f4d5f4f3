// The tables of operations and shapes, which front ends rest on.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support.h"
#include "transducers/operations.h"

namespace kavro_test {
namespace {

using kavro::Operation;
using kavro::Shape;
using kavro::TransducerStatus;

TEST(Operations, NamesLeadToTheirOperations) {
    EXPECT_EQ(kavro::operations().size(), 22u);
    for (const Operation& operation : kavro::operations()) {
        EXPECT_EQ(kavro::operation_of(operation.name), &operation);
        EXPECT_EQ(operation.default_ndiv % operation.ndiv_multiple, 0) << operation.name;
        EXPECT_EQ(operation.default_ndiv > 0, operation.uses(kavro::input_quadrature))
            << operation.name;
    }
    EXPECT_EQ(kavro::operation_of("fnm"), nullptr);
    EXPECT_EQ(kavro::shape_of("disc"), nullptr);
}

TEST(Operations, ElementsWithoutRecordsAnswerAtOnceAndSilently) {
    const Recorder console;
    int offered = 0;
    for (const Operation& operation : kavro::operations()) {
        for (const Shape& shape : kavro::shapes()) {
            const std::vector<double> sizes(shape.sizes.size(), 1e-3);
            const std::unique_ptr<kavro::Transducer> element = shape.make(sizes);
            const TransducerStatus status = ((*element).*operation.solve)();
            const bool is_offered = status != kavro::status_not_implemented;
            EXPECT_EQ(status, is_offered ? kavro::status_failure : kavro::status_not_implemented)
                << operation.name << " of a " << shape.name;
            EXPECT_EQ(implements(operation, shape), is_offered);
            offered += is_offered ? 1 : 0;
        }
    }
    EXPECT_GE(offered, 5);
    EXPECT_TRUE(console.warnings.empty());
    EXPECT_EQ(console.printed, "");
}

TEST(Shapes, TakeTheirSizesInTheOrderOfTheirNames) {
    const double sizes[] = {1, 2, 3};
    const auto made = [&](const char* identifier) {
        const Shape& shape = *kavro::shape_of(identifier);
        return shape.make(std::span(sizes).first(shape.sizes.size()));
    };
    const auto disc = made("circ");
    EXPECT_EQ(dynamic_cast<kavro::CircularTransducer&>(*disc).radius, 1);
    const auto rectangle = made("rect");
    EXPECT_EQ(dynamic_cast<kavro::RectangularTransducer&>(*rectangle).height, 2);
    const auto ring = made("ring");
    EXPECT_EQ(dynamic_cast<kavro::RingTransducer&>(*ring).outer_radius, 2);
    const auto shell = made("shel");
    EXPECT_EQ(dynamic_cast<kavro::SphericalTransducer&>(*shell).roc, 2);
    const auto part = made("sph ring");
    EXPECT_EQ(dynamic_cast<kavro::SphericalRingTransducer&>(*part).geometric_focus, 3);
}

}  // namespace
}  // namespace kavro_test
