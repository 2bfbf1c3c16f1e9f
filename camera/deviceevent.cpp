#include "camera/deviceevent.h"

#include <cjson/cJSON.h>
#include <memory>

namespace deviceevent {

namespace {

struct TreeDeleter
{
    void operator()(cJSON *tree) const { cJSON_Delete(tree); }
};

QString field(const QString &event, int position)
{
    return event.section(QLatin1Char(','), position, position);
}

} // namespace

std::optional<QString> fromJson(const char *utf8Json)
{
    if (utf8Json == nullptr)
        return std::nullopt;
    const std::unique_ptr<cJSON, TreeDeleter> tree{cJSON_Parse(utf8Json)};
    const cJSON *index = cJSON_GetObjectItem(tree.get(), "index");
    const cJSON *vid = cJSON_GetObjectItem(tree.get(), "vid");
    const cJSON *pid = cJSON_GetObjectItem(tree.get(), "pid");
    const cJSON *name = cJSON_GetObjectItem(tree.get(), "name");
    const cJSON *action = cJSON_GetObjectItem(tree.get(), "action");
    if (index == nullptr || vid == nullptr || pid == nullptr || !cJSON_IsString(name)
        || !cJSON_IsString(action))
        return std::nullopt;
    // all five in one call: a name with a place marker in it is no pattern
    return QStringLiteral("%1,%2,%3,%4,%5")
        .arg(QString::fromUtf8(action->valuestring), QString::number(index->valueint),
             QString::fromUtf8(name->valuestring), QString::number(vid->valueint),
             QString::number(pid->valueint));
}

QString action(const QString &event)
{
    return field(event, 0);
}

int index(const QString &event)
{
    return field(event, 1).toInt();
}

QString name(const QString &event)
{
    return field(event, 2);
}

int vid(const QString &event)
{
    return field(event, 3).toInt();
}

int pid(const QString &event)
{
    return field(event, 4).toInt();
}

} // namespace deviceevent
