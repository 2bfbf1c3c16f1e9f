#include "cli/session/devices.h"

#include <cjson/cJSON.h>
#include <cstdio>
#include <memory>

namespace cli {
namespace {

struct TreeDeleter
{
    void operator()(cJSON *tree) const { cJSON_Delete(tree); }
};

int number(const cJSON *object, const char *key)
{
    const cJSON *const member = cJSON_GetObjectItemCaseSensitive(object, key);
    return cJSON_IsNumber(member) ? member->valueint : 0;
}

std::string text(const cJSON *object, const char *key)
{
    const char *const value = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(object, key));
    return value ? value : "";
}

} // namespace

std::vector<Device> parseDevices(const char *json)
{
    std::vector<Device> devices;
    const std::unique_ptr<cJSON, TreeDeleter> tree(json ? cJSON_Parse(json) : nullptr);
    if (!cJSON_IsArray(tree.get()))
        return devices;
    const cJSON *element = nullptr;
    cJSON_ArrayForEach(element, tree.get())
        devices.push_back({number(element, "index"), number(element, "vid"), number(element, "pid"),
                           text(element, "name"), text(element, "node"), text(element, "serial")});
    return devices;
}

std::string modelOf(const Device &device)
{
    char model[32];
    std::snprintf(model, sizeof model, "%04x:%04x", static_cast<unsigned>(device.vid),
                  static_cast<unsigned>(device.pid));
    return model;
}

std::string describe(const Device &device)
{
    return std::to_string(device.index) + "  " + modelOf(device) + "  " + device.name;
}

JsonLine objectOf(const Device &device)
{
    JsonLine object;
    object.add("index", device.index).add("model", modelOf(device)).add("name", device.name);
    object.add("node", device.node).add("serial", device.serial);
    return object;
}

std::string describeInFull(const Device &device)
{
    return describe(device) + (device.node.empty() ? "" : "  " + device.node)
        + (device.serial.empty() ? "" : "  " + device.serial);
}

} // namespace cli
