// The two JSON texts that cross from the library to the application: arbitrary ones into the
// application, and from device names of all kinds through the library into the application.
#include "camera/deviceevent.h"
#include "camera/resolutionlist.h"
#include "library/api/messages.h"
#include "library/device/device_name.h"
#include "tests/fuzz/check.h"

#include <QStringList>
#include <algorithm>
#include <string>

namespace {

/// The numbers come from a JSON number, so they are decimal and small enough for an int.
bool isInt(const QString &text)
{
    bool ok = false;
    const int number = text.toInt(&ok);
    return ok && QString::number(number) == text;
}

void checkEvent(const std::string &json)
{
    const std::optional<QString> event = deviceevent::fromJson(json.c_str());
    if (!event)
        return;
    const QStringList fields = event->split(QLatin1Char(','));
    FUZZ_CHECK(fields.size() >= 5);
    FUZZ_CHECK(isInt(fields[fields.size() - 1]) && isInt(fields[fields.size() - 2]));
    FUZZ_CHECK(deviceevent::action(*event) == fields[0]);
    FUZZ_CHECK(deviceevent::name(*event) == fields[2]);
    if (fields.size() != 5)
        return;
    FUZZ_CHECK(isInt(fields[1]) && QString::number(deviceevent::index(*event)) == fields[1]);
    FUZZ_CHECK(QString::number(deviceevent::vid(*event)) == fields[3]);
    FUZZ_CHECK(QString::number(deviceevent::pid(*event)) == fields[4]);
}

void checkFields(const std::string &text)
{
    // an event string is a text like any other to those who read its fields
    const QString event = QString::fromUtf8(text.data(), static_cast<int>(text.size()));
    const QStringList fields = event.split(QLatin1Char(','));
    FUZZ_CHECK(deviceevent::action(event) == fields.value(0));
    FUZZ_CHECK(deviceevent::name(event) == fields.value(2));
    FUZZ_CHECK(deviceevent::index(event) == fields.value(1).toInt());
    FUZZ_CHECK(deviceevent::vid(event) == fields.value(3).toInt());
    FUZZ_CHECK(deviceevent::pid(event) == fields.value(4).toInt());
}

void checkResolutions(const std::string &json)
{
    const QString kept = QStringLiteral("kept");
    std::vector<_tag_unit_cam_res_unit> list{{kept, 7, 8, 9}};
    if (!resolutionlist::parse(json.c_str(), list)) {
        FUZZ_CHECK(list.size() == 1 && list[0].name == kept && list[0].res_no == 7);
        return;
    }
    FUZZ_CHECK(!list.empty());
    for (const auto &entry : list) {
        FUZZ_CHECK(entry.name == QStringLiteral("%1*%2").arg(entry.res_w).arg(entry.res_h));
        const auto *found = resolutionlist::findByName(list, entry.name);
        FUZZ_CHECK(found != nullptr && found->name == entry.name && found <= &entry);
        FUZZ_CHECK(resolutionlist::findBySizeAndName(list, entry.res_w, entry.res_h, entry.name)
                   == found);
    }
    FUZZ_CHECK(resolutionlist::findByName(list, QStringLiteral("none")) == nullptr);
}

void checkWayThroughTheLibrary(const std::string &raw)
{
    const std::string name = korv::usableDeviceName(raw);
    FUZZ_CHECK(!name.empty() && name.size() <= 63);
    FUZZ_CHECK(name.find(',') == std::string::npos);
    FUZZ_CHECK(std::none_of(name.begin(), name.end(), [](char c) { return c > 0 && c < ' '; }));
    FUZZ_CHECK(korv::usableDeviceName(name) == name);

    korv::IndexedDevice device;
    device.index = static_cast<int>(raw.size());
    device.identity.name = name;
    device.identity.vid = 0xFFFF;
    device.identity.pid = 1;
    const korv::MallocText json = korv::messages::deviceEvent(korv::DeviceAction::Add, device);
    const std::optional<QString> event = deviceevent::fromJson(json.get());
    FUZZ_CHECK(event
               && *event
                   == QStringLiteral("add,%1,%2,65535,1")
                          .arg(QString::number(device.index), QString::fromStdString(name)));
    FUZZ_CHECK(deviceevent::name(*event) == QString::fromStdString(name));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const std::string text(reinterpret_cast<const char *>(bytes), size);
    checkEvent(text);
    checkFields(text);
    checkResolutions(text);
    checkWayThroughTheLibrary(text);
    return 0;
}
