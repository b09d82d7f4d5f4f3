// How much memory is left, on machines and in containers that are made up of files.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "core/available_memory.h"

namespace kavro_test {
namespace {

// A machine with 8000 KiB left and 1000 KiB of swap, and what files are added.
class Machine {
public:
    Machine() {
        with("proc/meminfo", "MemTotal: 9000 kB\nMemAvailable:    8000 kB\nSwapFree: 1000 kB\n");
    }
    ~Machine() { std::filesystem::remove_all(root_); }

    Machine& with(const std::string& name, const std::string& text) {
        std::filesystem::create_directories((root_ / name).parent_path());
        std::ofstream(root_ / name) << text << '\n';
        return *this;
    }
    std::uint64_t left() const { return kavro::available_memory(root_).value_or(0); }

private:
    std::filesystem::path root_ = std::filesystem::path(testing::TempDir()) /
                                  ("kavro_machine" + std::to_string(std::random_device()()));
};

constexpr std::uint64_t all = 9000 * 1024, swap = 1000 * 1024;

TEST(AvailableMemory, IsTheLeastThatTheGroupsLeave) {
    const std::string job = "sys/fs/cgroup/slice/job/memory.",
                      slice = "sys/fs/cgroup/slice/memory.";
    Machine machine;
    EXPECT_EQ(machine.left(), all);
    EXPECT_EQ(machine.with("proc/self/cgroup", "0::/slice/job").left(), all);
    EXPECT_EQ(machine.with(job + "max", "max").with(job + "current", "400000").left(), all);
    EXPECT_EQ(machine.with(job + "max", "500000").left(), 100000 + swap);
    EXPECT_EQ(machine.with(job + "swap.max", "9000").left(), 109000u);
    EXPECT_EQ(machine.with(job + "swap.current", "2000").left(), 107000u);
    const std::string pages = "anon 300000\ninactive_file 20000\nactive_file 3000";
    EXPECT_EQ(machine.with(job + "stat", pages).left(), 130000u);
    EXPECT_EQ(machine.with(slice + "max", "50000").with(slice + "swap.max", "0").left(), 50000u);
    EXPECT_EQ(machine.with(job + "max", "1000").left(), 7000u);  // lowered since
}

TEST(AvailableMemory, IsTheLeastThatGroupsOfTheFirstGenerationLeave) {
    const std::string mount = "sys/fs/cgroup/memory", job = mount + "/job/memory.";
    Machine machine;
    machine.with("proc/self/cgroup", "7:cpuset:/\n4:cpu,memory:/job\n0::/");
    machine.with(job + "limit_in_bytes", "9223372036854771712").with(job + "usage_in_bytes", "400");
    EXPECT_EQ(machine.left(), all);
    EXPECT_EQ(machine.with(job + "limit_in_bytes", "500").left(), 100 + swap);
    EXPECT_EQ(machine.with(job + "memsw.limit_in_bytes", "600").left(), 600u);
    EXPECT_EQ(machine.with(job + "memsw.usage_in_bytes", "450").left(), 150u);
    EXPECT_EQ(machine.with(job + "stat", "cache 1\ntotal_inactive_file 20").left(), 170u);
    // Within a container its group is the mount, under a path from outside of it.
    machine.with("proc/self/cgroup", "4:memory:/docker/1a2b");
    EXPECT_EQ(machine.with(mount + "/memory.limit_in_bytes", "90").left(), 90 + swap);
}

}  // namespace
}  // namespace kavro_test
