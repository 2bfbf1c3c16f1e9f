#include "cli/controllines.h"

#include "cli/base/translation.h"
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

/// What the control can be set to.
std::string rangeText(const Control &control)
{
    if (control.kind == ControlKind::Switch)
        return tr("0 or 1");
    if (control.kind != ControlKind::Number)
        return korv::controlRangeText(control);
    return control.step > 1
        ? tr("%1 to %2 in steps of %3", control.minimum, control.maximum, control.step)
        : tr("%1 to %2", control.minimum, control.maximum);
}

} // namespace

std::string describe(const Control &control, const std::string *saved)
{
    std::string line = control.name;
    if (control.value)
        line += "=" + korv::controlValueText(control, *control.value);
    if (control.kind == ControlKind::Button)
        line += "  " + tr("button");
    else if (control.kind == ControlKind::Unsupported)
        line += "  " + tr("of a kind that cannot be set here");
    else
        line += "  " + rangeText(control) + "  "
            + tr("default %1", korv::controlValueText(control, control.standard));
    if (control.isReadOnly())
        line += "  " + tr("read-only");
    if (control.isInactive())
        line += "  " + tr("inactive");
    if (saved)
        line += "  " + tr("saved %1", *saved);
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
