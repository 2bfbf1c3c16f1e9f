#include "cli/controllines.h"

#include "library/controls/control_values.h"

#include <vector>

namespace cli {
namespace {

using korv::Control;
using korv::ControlKind;

const char *typeOf(const Control &control)
{
    switch (control.kind) {
    case ControlKind::Number:
        return "number";
    case ControlKind::Switch:
        return "switch";
    case ControlKind::Menu:
        return "menu";
    case ControlKind::Button:
        return "button";
    case ControlKind::Unsupported:
        break;
    }
    return "unsupported";
}

bool takesValues(const Control &control)
{
    return control.kind != ControlKind::Button && control.kind != ControlKind::Unsupported;
}

} // namespace

std::string describe(const Control &control, const std::string *saved)
{
    std::string line = control.name;
    if (control.value)
        line += "=" + korv::controlValueText(control, *control.value);
    if (control.kind == ControlKind::Button)
        line += "  button";
    else if (control.kind == ControlKind::Unsupported)
        line += "  of a kind that cannot be set here";
    else
        line += "  " + korv::controlRangeText(control) + "  default "
            + korv::controlValueText(control, control.standard);
    if (control.isReadOnly())
        line += "  read-only";
    if (control.isInactive())
        line += "  inactive";
    if (saved)
        line += "  saved " + *saved;
    return line;
}

JsonLine objectOf(const Control &control, const std::string *saved)
{
    JsonLine object;
    object.add("name", control.name).add("type", typeOf(control));
    if (control.value)
        object.add("value", *control.value);
    if (takesValues(control)) {
        object.add("minimum", control.minimum).add("maximum", control.maximum);
        object.add("step", control.step).add("default", control.standard);
    }
    if (control.kind == ControlKind::Menu) {
        std::vector<JsonLine> choices;
        for (const korv::ControlChoice &choice : control.choices) {
            choices.emplace_back();
            choices.back().add("value", choice.number).add("name", choice.name);
        }
        object.add("choices", choices);
    }
    object.add("read_only", control.isReadOnly()).add("inactive", control.isInactive());
    if (saved)
        object.add("saved", *saved);
    return object;
}

} // namespace cli
