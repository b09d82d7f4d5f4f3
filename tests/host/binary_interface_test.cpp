// The module built for MATLAB, loaded as MATLAB loads it: by name, with the host's libmx and libmex
// already there.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "module_call.h"

namespace host {
namespace {

struct LoadedModule {
    explicit LoadedModule(const char* path = KAVRO_MODULE)
        : handle(dlopen(path, RTLD_NOW | RTLD_LOCAL), dlclose) {
        EXPECT_TRUE(handle) << dlerror();
    }

    template <class Function>
    Function* function(const char* name) const {
        return handle ? reinterpret_cast<Function*>(dlsym(handle.get(), name)) : nullptr;
    }

    std::unique_ptr<void, int (*)(void*)> handle;
};

TEST(BinaryInterface, names_its_generation) {
    const LoadedModule module;
    auto* versions = module.function<void(unsigned*, unsigned*)>("mexfilerequiredapiversion");
    ASSERT_NE(versions, nullptr);
    unsigned release = 0;
    unsigned target = 0;
    versions(&release, &target);
    EXPECT_EQ(release, 0x0002019Au);
    EXPECT_EQ(target, 0x07300000u);
}

#ifdef KAVRO_MODULE_HAS_OWN_FFTW
TEST(BinaryInterface, keeps_its_transform_library_to_itself) {
    // Looked for in the module and in all that it was linked with.
    const LoadedModule module;
    ASSERT_TRUE(module.handle);
    EXPECT_EQ(module.function<void()>("fftw_execute"), nullptr);
    EXPECT_EQ(module.function<void()>("fftw_plan_dft_r2c_1d"), nullptr);
}
#endif

TEST(BinaryInterface, computes_and_fails_like_the_module_that_is_linked_in) {
    const std::vector<double> wanted = pressure(Call());
    EXPECT_GT(largest(wanted), 0.0);
    // Loaded and unloaded twice: nothing of it may stay behind.
    for (int i = 0; i < 2; ++i) {
        const LoadedModule module;
        auto* entry = module.function<Entry>("mexFunction");
        ASSERT_NE(entry, nullptr);
        ASSERT_NE(entry, &mexFunction);
        const Outcome outcome = call(entry, 1, Call().all());
        EXPECT_EQ(outcome.misuses, std::vector<std::string>());
        ASSERT_TRUE(outcome.output);
        EXPECT_EQ(values(outcome.output), wanted);

        const std::vector<Value> circle = Call().set("elements.shape = 'circle'").all();
        for (const Leaving leaving : {Leaving::exception, Leaving::jump}) {
            const Outcome failure = call(entry, 1, circle, leaving);
            EXPECT_EQ(failure.error, "Invalid transducer shape identifier.\n");
            EXPECT_EQ(failure.printed,
                      "*** circle is not a valid transducer shape (element 1) ***\n");
        }
        const Outcome refused = call(entry, 1, Call().all(), Leaving::exception, Fault::creation);
        EXPECT_EQ(refused.error, "The host has no memory left.");
    }
}

TEST(BinaryInterface, has_a_second_module_for_every_method) {
    const LoadedModule module(KAVRO_SOLVE_MODULE);
    auto* entry = module.function<Entry>("mexFunction");
    ASSERT_NE(entry, nullptr);
    const Outcome outcome = call(entry, 1, Call("fnm_tsd_sse").set("ndiv = 8").all());
    EXPECT_EQ(outcome.misuses, std::vector<std::string>());
    ASSERT_TRUE(outcome.output);
    EXPECT_EQ(values(outcome.output), pressure(Call().set("excitation.decomposition = 'exact'")));
    EXPECT_EQ(call(entry, 1, {text("fnm_tsd")}, Leaving::jump).error,
              "This function needs a method, elements, a grid and a medium; then options by name "
              "and value.");
}

}  // namespace
}  // namespace host
