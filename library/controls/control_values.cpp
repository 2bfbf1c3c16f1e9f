#include "library/controls/control_values.h"

#include "library/controls/control_names.h"

#include <algorithm>
#include <cerrno>
#include <charconv>

namespace korv {
namespace {

/// A decimal or, with 0x, hexadecimal number of 32 bits; nothing for any other text.
std::optional<std::int64_t> numberIn(const std::string &text)
{
    const bool isNegative = !text.empty() && text.front() == '-';
    const char *start = text.data() + (isNegative ? 1 : 0);
    const char *const end = text.data() + text.size();
    const bool isHexadecimal = end - start > 2 && start[0] == '0' && (start[1] | 0x20) == 'x';
    std::uint32_t number = 0;
    const auto [stop, error] = isHexadecimal ? std::from_chars(start + 2, end, number, 16)
                                             : std::from_chars(start, end, number, 10);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return isNegative ? -std::int64_t{number} : std::int64_t{number};
}

std::optional<std::int64_t> switchIn(const std::string &text)
{
    const std::string word = controlName(text);
    if (word == "on" || word == "yes" || word == "true")
        return 1;
    if (word == "off" || word == "no" || word == "false")
        return 0;
    return std::nullopt;
}

std::optional<std::int64_t> choiceIn(const Control &control, const std::string &text)
{
    // a name may look like a number: the menu of "50" and "60" means the name then
    for (const ControlChoice &choice : control.choices) {
        if (choice.name == text)
            return choice.number;
    }
    if (const auto number = numberIn(text))
        return number;
    const std::string wanted = controlName(text);
    for (const ControlChoice &choice : control.choices) {
        if (!wanted.empty() && controlName(choice.name) == wanted)
            return choice.number;
    }
    return std::nullopt;
}

Error refusal(const Control &control, const std::string &text, int code)
{
    return {code, control.name + " takes " + controlRangeText(control) + ", not " + text};
}

bool isChoice(const Control &control, std::int64_t number)
{
    return std::any_of(control.choices.begin(), control.choices.end(),
                       [=](const ControlChoice &choice) { return choice.number == number; });
}

} // namespace

Result<std::int32_t> parseControlValue(const Control &control, const std::string &text)
{
    std::optional<std::int64_t> value = numberIn(text);
    switch (control.kind) {
    case ControlKind::Unsupported:
        return Error{-EINVAL, control.name + " is of a kind that cannot be set here"};
    case ControlKind::Button:
        if (!value)
            return Error{-EINVAL, control.name + " is a button: set it to 1 to press it"};
        return 1;
    case ControlKind::Switch:
        if (!value)
            value = switchIn(text);
        break;
    case ControlKind::Menu:
        value = choiceIn(control, text);
        break;
    case ControlKind::Number:
        break;
    }
    if (!value)
        return refusal(control, "'" + text + "'", -EINVAL);
    const bool fits = control.kind == ControlKind::Menu
        ? isChoice(control, *value)
        : *value >= control.minimum && *value <= control.maximum;
    if (!fits)
        return refusal(control, text, -ERANGE);
    return static_cast<std::int32_t>(*value);
}

std::string controlValueText(const Control &control, std::int32_t value)
{
    for (const ControlChoice &choice : control.choices) {
        if (choice.number == value)
            return std::to_string(value) + " (" + choice.name + ")";
    }
    return std::to_string(value);
}

std::string controlRangeText(const Control &control)
{
    switch (control.kind) {
    case ControlKind::Switch:
        return "0 or 1";
    case ControlKind::Menu: {
        std::string list;
        for (const ControlChoice &choice : control.choices)
            list += (list.empty() ? "" : ", ") + controlValueText(control, choice.number);
        return list.empty() ? "nothing" : list;
    }
    case ControlKind::Button:
        return "1, which presses it";
    case ControlKind::Number:
        return std::to_string(control.minimum) + " to " + std::to_string(control.maximum)
            + (control.step > 1 ? " in steps of " + std::to_string(control.step) : "");
    case ControlKind::Unsupported:
        break;
    }
    return "nothing";
}

} // namespace korv
