#include "camera/resolutionlist.h"

#include <algorithm>
#include <cjson/cJSON.h>
#include <memory>

namespace resolutionlist {

namespace {

struct TreeDeleter
{
    void operator()(cJSON *tree) const { cJSON_Delete(tree); }
};

int member(const cJSON *entry, const char *key)
{
    const cJSON *value = cJSON_GetObjectItem(entry, key);
    return value != nullptr ? value->valueint : 0;
}

template <typename Predicate>
const _tag_unit_cam_res_unit *findFirst(const std::vector<_tag_unit_cam_res_unit> &list,
                                        Predicate predicate)
{
    const auto found = std::find_if(list.begin(), list.end(), predicate);
    return found != list.end() ? &*found : nullptr;
}

} // namespace

bool parse(const char *json, std::vector<_tag_unit_cam_res_unit> &list)
{
    if (json == nullptr)
        return false;
    const std::unique_ptr<cJSON, TreeDeleter> tree{cJSON_Parse(json)};
    if (tree == nullptr || cJSON_GetArraySize(tree.get()) < 1)
        return false;
    list.clear();
    // the children directly: fetching each by its number would walk from the first every time
    const cJSON *entry = nullptr;
    cJSON_ArrayForEach(entry, tree.get())
    {
        const int width = member(entry, "res-w");
        const int height = member(entry, "res-h");
        list.push_back({QStringLiteral("%1*%2").arg(width).arg(height), member(entry, "res-no"),
                        width, height});
    }
    return true;
}

const _tag_unit_cam_res_unit *findByName(const std::vector<_tag_unit_cam_res_unit> &list,
                                         const QString &name)
{
    return findFirst(list, [&](const auto &entry) { return entry.name == name; });
}

const _tag_unit_cam_res_unit *findBySizeAndName(const std::vector<_tag_unit_cam_res_unit> &list,
                                                int width, int height, const QString &name)
{
    return findFirst(list, [&](const auto &entry) {
        return entry.res_w == width && entry.res_h == height && entry.name == name;
    });
}

} // namespace resolutionlist
