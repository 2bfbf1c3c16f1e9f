#include "cli/commandline/suggestion.h"

#include <algorithm>

namespace cli {
namespace {

/// The least number of letters to insert, remove, replace, or swap with their neighbour.
std::size_t distance(const std::string &one, const std::string &other)
{
    std::vector<std::vector<std::size_t>> least(one.size() + 1,
                                                std::vector<std::size_t>(other.size() + 1));
    for (std::size_t i = 0; i <= one.size(); ++i) {
        for (std::size_t j = 0; j <= other.size(); ++j) {
            if (i == 0 || j == 0) {
                least[i][j] = i + j;
                continue;
            }
            const std::size_t replaced =
                least[i - 1][j - 1] + (one[i - 1] == other[j - 1] ? 0U : 1U);
            least[i][j] = std::min({least[i - 1][j] + 1, least[i][j - 1] + 1, replaced});
            const bool swapped =
                i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1];
            if (swapped)
                least[i][j] = std::min(least[i][j], least[i - 2][j - 2] + 1);
        }
    }
    return least[one.size()][other.size()];
}

} // namespace

std::string nearest(const std::string &word, const std::vector<std::string> &known)
{
    constexpr std::size_t kMaxLength = 32; // longer than any command
    if (word.empty() || word.size() > kMaxLength)
        return {};
    std::string best;
    std::size_t leastDistance = word.size() / 2 + 1;
    for (const std::string &candidate : known) {
        const bool begins = candidate.compare(0, word.size(), word) == 0;
        const std::size_t here = begins ? 0 : distance(word, candidate);
        if (here < leastDistance) {
            leastDistance = here;
            best = candidate;
        }
    }
    return best;
}

} // namespace cli
