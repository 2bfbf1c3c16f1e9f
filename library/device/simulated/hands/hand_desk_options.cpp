#include "library/device/simulated/hands/hand_desk_options.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <sstream>

namespace korv {
namespace {

constexpr char kScene[] = "hands";
constexpr double kMinSpeed = 0.1;
constexpr double kMaxSpeed = 10;
constexpr int kMaxTurns = 1'000'000;

constexpr std::array<const char *, 4> kLights{"day", "lamp", "dim", "window"};
constexpr std::array<const char *, 4> kPapers{"white", "recycled", "cream", "glossy"};

template <typename Number> bool readNumber(const std::string &text, Number &number)
{
    const char *const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stopped == end;
}

template <typename Choice>
bool readChoice(const std::string &text, const std::array<const char *, 4> &names, Choice &choice)
{
    const auto found = std::find(names.begin(), names.end(), text);
    if (found == names.end())
        return false;
    choice = static_cast<Choice>(found - names.begin());
    return true;
}

bool apply(const std::string &key, const std::string &value, HandDeskOptions &options)
{
    if (key == "seed")
        return readNumber(value, options.seed);
    if (key == "speed")
        return readNumber(value, options.speed) && options.speed >= kMinSpeed
            && options.speed <= kMaxSpeed;
    if (key == "turns")
        return readNumber(value, options.turns) && options.turns >= 0 && options.turns <= kMaxTurns;
    if (key == "light")
        return readChoice(value, kLights, options.light);
    if (key == "paper")
        return readChoice(value, kPapers, options.paper);
    return false;
}

} // namespace

Result<HandDeskOptions> readHandDesk(const std::string &text)
{
    HandDeskOptions options;
    std::istringstream words(text);
    std::string word;
    std::getline(words, word, ',');
    if (word != kScene)
        return Error{-EINVAL, "there is no built-in desk '" + word + "'; known: hands"};
    while (std::getline(words, word, ',')) {
        const std::size_t equals = std::min(word.find('='), word.size());
        if (equals == word.size()
            || !apply(word.substr(0, equals), word.substr(equals + 1), options))
            return Error{-EINVAL,
                         "not an option of the desk: '" + word
                             + "'; known: seed=N, speed=0.1 to 10, turns=N, "
                               "light=day|lamp|dim|window, paper=white|recycled|cream|glossy"};
    }
    return options;
}

} // namespace korv
