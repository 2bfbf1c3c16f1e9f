#include "library/api/messages.h"

#include "library/base/handle.h"

#include <cjson/cJSON.h>

#include <cstring>
#include <new>

namespace korv::messages {
namespace {

using Json = Handle<cJSON, cJSON_Delete>;
using JsonText = Handle<char, cJSON_free>;

Json made(cJSON *item)
{
    if (!item)
        throw std::bad_alloc();
    return Json(item);
}

void addNumber(cJSON *object, const char *key, int value)
{
    if (!cJSON_AddNumberToObject(object, key, value))
        throw std::bad_alloc();
}

void addText(cJSON *object, const char *key, const char *text)
{
    if (!cJSON_AddStringToObject(object, key, text))
        throw std::bad_alloc();
}

void addTextIfAny(cJSON *object, const char *key, const std::string &text)
{
    if (!text.empty())
        addText(object, key, text.c_str());
}

void append(cJSON *array, Json item)
{
    if (!cJSON_AddItemToArray(array, item.get()))
        throw std::bad_alloc();
    static_cast<void>(item.release()); // the array owns it now
}

void addDevice(cJSON *object, const IndexedDevice &device)
{
    addNumber(object, "index", device.index);
    addText(object, "name", device.identity.name.c_str());
    addNumber(object, "vid", device.identity.vid);
    addNumber(object, "pid", device.identity.pid);
}

/// The program may have given cJSON an allocator of its own; what leaves the library must still be
/// malloc's, so the text is copied.
MallocText printed(const cJSON *item)
{
    const JsonText text(cJSON_PrintUnformatted(item));
    MallocText copy(text ? ::strdup(text.get()) : nullptr);
    if (!copy)
        throw std::bad_alloc();
    return copy;
}

} // namespace

MallocText deviceEvent(DeviceAction action, const IndexedDevice &device)
{
    const Json object = made(cJSON_CreateObject());
    addText(object.get(), "action", action == DeviceAction::Add ? "add" : "remove");
    addDevice(object.get(), device);
    return printed(object.get());
}

MallocText deviceList(const std::vector<IndexedDevice> &devices)
{
    const Json array = made(cJSON_CreateArray());
    for (const IndexedDevice &device : devices) {
        Json object = made(cJSON_CreateObject());
        addDevice(object.get(), device);
        addTextIfAny(object.get(), "node", device.identity.node);
        addTextIfAny(object.get(), "serial", device.identity.serial);
        append(array.get(), std::move(object));
    }
    return printed(array.get());
}

MallocText resolutionList(const std::vector<CaptureMode> &modes)
{
    const Json array = made(cJSON_CreateArray());
    for (const CaptureMode &mode : modes) {
        Json object = made(cJSON_CreateObject());
        addNumber(object.get(), "res-no", mode.number);
        addNumber(object.get(), "res-w", mode.width);
        addNumber(object.get(), "res-h", mode.height);
        append(array.get(), std::move(object));
    }
    return printed(array.get());
}

} // namespace korv::messages
