// In what pieces the marches tell of their steps.
#pragma once

namespace kavro::kzk {

// Rows of retarded time or of radius between two words with who counts the steps.
inline constexpr int rows_at_a_time = 1024;

}  // namespace kavro::kzk
