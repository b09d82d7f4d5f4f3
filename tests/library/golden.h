// Tables of values computed elsewhere, as the data files write them.
#pragma once

#include <string>
#include <vector>

#include "stage.h"

namespace kavro_test {

std::vector<std::string> parts_of(const std::string& text, char mark);
Values numbers(const std::vector<std::string>& words, std::size_t first = 0);

// "kind sizes centre angles amplitude delay", of an exact element.
Source source_of(const std::string& text);

// "kind f0 w" and what else there is.
Waveform waveform_of(const std::string& text);

// The rows of a file, split at commas.
std::vector<std::vector<std::string>> golden_table(const std::string& file);

}  // namespace kavro_test
