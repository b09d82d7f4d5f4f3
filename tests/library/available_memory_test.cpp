// How much memory is left, on machines and in containers that are made up of files.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "core/available_memory.h"

namespace kavro_test {
namespace {

using Files = std::map<std::string, std::string>;

const std::string first = "sys/fs/cgroup/memory";
const std::string second = "sys/fs/cgroup";

std::optional<std::uint64_t> left_with(const Files& files) {
    const auto root = std::filesystem::path(testing::TempDir()) /
                      testing::UnitTest::GetInstance()->current_test_info()->name();
    std::filesystem::remove_all(root);
    for (const auto& [name, text] : files) {
        std::filesystem::create_directories((root / name).parent_path());
        std::ofstream(root / name) << text;
    }
    const auto left = kavro::available_memory(root);
    std::filesystem::remove_all(root);
    return left;
}

// A machine with 8000 KiB left and 1000 KiB of swap, and what else is there.
std::optional<std::uint64_t> left_on_machine_with(Files files) {
    files["proc/meminfo"] =
        "MemTotal: 9000 kB\nMemAvailable:    8000 kB\nSwapFree: 1000 kB\nHugePages_Total: 0\n";
    return left_with(files);
}

TEST(AvailableMemory, IsTheMachinesWhereNoGroupHasLess) {
    EXPECT_EQ(left_with({}), std::nullopt);
    EXPECT_EQ(left_with({{"proc/meminfo", "MemAvailable: 5 kB\n"}}), 5 * 1024u);
    const std::uint64_t machine = 9000 * 1024;
    EXPECT_EQ(left_on_machine_with({}), machine);
    EXPECT_EQ(left_on_machine_with({{"proc/self/cgroup", "0::/\n"}}), machine);
    EXPECT_EQ(left_on_machine_with({{"proc/self/cgroup", "0::/job\n"},
                                    {second + "/job/memory.max", "max\n"},
                                    {second + "/job/memory.current", "7000000\n"}}),
              machine);
    EXPECT_EQ(left_on_machine_with({{"proc/self/cgroup", "7:cpu:/\n4:memory:/job\n0::/\n"},
                                    {first + "/job/memory.limit_in_bytes", "9223372036854771712"},
                                    {first + "/job/memory.usage_in_bytes", "7000000"}}),
              machine);
}

TEST(AvailableMemory, IsWhatTheGroupLeaves) {
    Files group{{"proc/self/cgroup", "0::/job\n"},
                {second + "/job/memory.max", "500000\n"},
                {second + "/job/memory.current", "400000\n"},
                {second + "/job/memory.swap.max", "0\n"}};
    EXPECT_EQ(left_on_machine_with(group), 100000u);
    group[second + "/job/memory.stat"] = "anon 300000\ninactive_file 20000\nactive_file 3000\n";
    EXPECT_EQ(left_on_machine_with(group), 123000u);
    group[second + "/job/memory.swap.max"] = "9000\n";
    group[second + "/job/memory.swap.current"] = "2000\n";
    EXPECT_EQ(left_on_machine_with(group), 130000u);
    group[second + "/job/memory.max"] = "1000\n";  // lowered since
    EXPECT_EQ(left_on_machine_with(group), 7000u);

    Files older{{"proc/self/cgroup", "4:cpu,memory:/job\n0::/\n"},
                {first + "/job/memory.limit_in_bytes", "500000\n"},
                {first + "/job/memory.usage_in_bytes", "400000\n"},
                {first + "/job/memory.stat", "cache 1\ntotal_inactive_file 20000\n"}};
    EXPECT_EQ(left_on_machine_with(older), 120000u + 1000 * 1024u);
    older[first + "/job/memory.memsw.limit_in_bytes"] = "600000";
    older[first + "/job/memory.memsw.usage_in_bytes"] = "450000";
    EXPECT_EQ(left_on_machine_with(older), 170000u);
}

// Limits nest, and a container may see its own group at the mount, under a path from outside of it.
TEST(AvailableMemory, IsTheLeastOfNestedGroups) {
    Files nested{{"proc/self/cgroup", "0::/slice/job/step\n"},
                 {second + "/slice/memory.max", "300000\n"},
                 {second + "/slice/memory.current", "100000\n"},
                 {second + "/slice/memory.swap.max", "0\n"},
                 {second + "/slice/job/step/memory.max", "400000\n"},
                 {second + "/slice/job/step/memory.current", "0\n"}};
    EXPECT_EQ(left_on_machine_with(nested), 200000u);
    nested[second + "/slice/job/step/memory.swap.max"] = "0\n";
    nested[second + "/slice/job/step/memory.current"] = "250000\n";
    EXPECT_EQ(left_on_machine_with(nested), 150000u);
    EXPECT_EQ(left_on_machine_with({{"proc/self/cgroup", "4:memory:/docker/1a2b\n"},
                                    {first + "/memory.limit_in_bytes", "90000\n"},
                                    {first + "/memory.memsw.limit_in_bytes", "90000\n"}}),
              90000u);
}

}  // namespace
}  // namespace kavro_test
