#include "core/number_text.h"

#include <array>
#include <cstdio>

namespace kavro {

std::string number_text(double number, const char* format) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), format, number);
    return text.data();
}

}  // namespace kavro
