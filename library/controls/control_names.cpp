#include "library/controls/control_names.h"

namespace korv {

std::string controlName(const std::string &title)
{
    std::string name;
    bool between = false;
    for (const char letter : title) {
        // independent of the locale
        const bool isUpper = letter >= 'A' && letter <= 'Z';
        const bool counts =
            isUpper || (letter >= 'a' && letter <= 'z') || (letter >= '0' && letter <= '9');
        if (!counts) {
            between = !name.empty();
            continue;
        }
        if (between)
            name += '_';
        between = false;
        name += isUpper ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return name;
}

} // namespace korv
