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

#define KAVRO_RECORD(name)             \
    TransducerStatus name() override { \
        asked = #name;                 \
        return kavro::status_success;  \
    }

// Remembers which operation it was asked for.
class Recording : public kavro::Transducer {
public:
    std::string asked;

    KAVRO_RECORD(farfield_cw)
    KAVRO_RECORD(fnm_cw)
    KAVRO_RECORD(fnm_cw_apodized)
    KAVRO_RECORD(fnm_cw_single)
    KAVRO_RECORD(fnm_cw_sse)
    KAVRO_RECORD(fnm_cw_sse2)
    KAVRO_RECORD(radiator_cw)
    KAVRO_RECORD(rayleigh_cw)
    KAVRO_RECORD(rayleigh_cw_apodized)
    KAVRO_RECORD(rayleigh_cw_sse)
    KAVRO_RECORD(impulse_begin_and_end_times)
    KAVRO_RECORD(impulse_response)
    KAVRO_RECORD(fnm_transient)
    KAVRO_RECORD(fnm_transient_behind_source)
    KAVRO_RECORD(fnm_fdtsd)
    KAVRO_RECORD(fnm_tsd)
    KAVRO_RECORD(fnm_tsd_behind_source)
    KAVRO_RECORD(fnm_tsd_low_precision)
    KAVRO_RECORD(fnm_tsd_sse)
    KAVRO_RECORD(rayleigh_transient)
    KAVRO_RECORD(kzk_transient)
    KAVRO_RECORD(kzk_cw)
};

TEST(Operations, NamesLeadToTheirOperations) {
    EXPECT_EQ(kavro::operations().size(), 22u);
    for (const Operation& operation : kavro::operations()) {
        Recording element;
        EXPECT_EQ((element.*operation.solve)(), kavro::status_success);
        EXPECT_EQ(element.asked, operation.name);
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
