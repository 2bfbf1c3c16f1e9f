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
                           text(element, "name")});
    return devices;
}

std::string describe(const Device &device)
{
    char head[64];
    std::snprintf(head, sizeof head, "%d  %04x:%04x  ", device.index,
                  static_cast<unsigned>(device.vid), static_cast<unsigned>(device.pid));
    return head + device.name;
}

} // namespace cli
