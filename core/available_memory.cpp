#include "core/available_memory.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>

namespace kavro {
namespace {

constexpr std::uint64_t unlimited = std::numeric_limits<std::uint64_t>::max();

std::uint64_t sum(std::uint64_t a, std::uint64_t b) {
    return b < unlimited - a ? a + b : unlimited;
}

std::uint64_t difference(std::uint64_t a, std::uint64_t b) {
    return a > b ? a - b : 0;
}

// A table of lines "name number".
std::map<std::string, std::uint64_t> table_in(const std::string& file) {
    std::map<std::string, std::uint64_t> table;
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        std::istringstream words(line);
        std::string name;
        std::uint64_t number = 0;
        if (words >> name >> number) {
            table[name] = number;
        }
    }
    return table;
}

// The one number of a file; `otherwise` where it says "max", or where there is no such file.
std::uint64_t number_in(const std::string& file, std::uint64_t otherwise) {
    std::ifstream stream(file);
    std::uint64_t number = 0;
    return stream >> number ? number : otherwise;
}

// What a control group leaves to a process in it, by files of the two generations. Pages of files
// count as left: the system takes them back when it needs them.
std::uint64_t left_in(const std::string& group, const std::string& limit, const std::string& use,
                      std::uint64_t cached = 0) {
    const std::uint64_t most = number_in(group + "/memory." + limit, unlimited);
    const std::uint64_t used = difference(number_in(group + "/memory." + use, 0), cached);
    return most == unlimited ? unlimited : difference(most, used);
}

std::uint64_t left_in_first(const std::string& group, std::uint64_t free_swap) {
    auto statistics = table_in(group + "/memory.stat");
    const std::uint64_t cached =
        sum(statistics["total_active_file"], statistics["total_inactive_file"]);
    // The second limit is one for memory and swap together.
    return std::min(sum(left_in(group, "limit_in_bytes", "usage_in_bytes", cached), free_swap),
                    left_in(group, "memsw.limit_in_bytes", "memsw.usage_in_bytes", cached));
}

std::uint64_t left_in_second(const std::string& group, std::uint64_t free_swap) {
    auto statistics = table_in(group + "/memory.stat");
    const std::uint64_t cached = sum(statistics["active_file"], statistics["inactive_file"]);
    return sum(left_in(group, "max", "current", cached),
               std::min(left_in(group, "swap.max", "swap.current"), free_swap));
}

// The least that is left in a group or in one around it, up to the mount. (Within a container the
// group's path may be that outside of it, where only the mount itself is to be found.)
template <class LeftIn>
std::uint64_t least_left(const std::string& mount, std::string group, LeftIn left_in,
                         std::uint64_t free_swap) {
    std::uint64_t least = left_in(mount, free_swap);
    while (group.size() > 1 && group.front() == '/') {
        least = std::min(least, left_in(mount + group, free_swap));
        group.resize(group.rfind('/'));
    }
    return least;
}

bool names_memory(const std::string& controllers) {
    std::istringstream list(controllers);
    for (std::string name; std::getline(list, name, ',');) {
        if (name == "memory") {
            return true;
        }
    }
    return false;
}

// Lines "4:cpu,memory:/path" tell of the first generation of groups, "0::/path" of the second.
std::uint64_t left_in_groups(const std::string& root, std::uint64_t free_swap) {
    const std::string mounts = root + "/sys/fs/cgroup";
    std::uint64_t least = unlimited;
    std::ifstream groups(root + "/proc/self/cgroup");
    std::string number, controllers, path;
    while (std::getline(groups, number, ':') && std::getline(groups, controllers, ':') &&
           std::getline(groups, path)) {
        if (names_memory(controllers)) {
            least = std::min(least, least_left(mounts + "/memory", path, left_in_first, free_swap));
        } else if (controllers.empty()) {
            least = std::min(least, least_left(mounts, path, left_in_second, free_swap));
        }
    }
    return least;
}

}  // namespace

std::optional<std::uint64_t> available_memory(const std::string& root) {
    auto machine = table_in(root + "/proc/meminfo");
    if (!machine.contains("MemAvailable:")) {
        return std::nullopt;
    }
    const std::uint64_t free_swap = machine["SwapFree:"] * 1024;
    return std::min(machine["MemAvailable:"] * 1024 + free_swap, left_in_groups(root, free_swap));
}

}  // namespace kavro
