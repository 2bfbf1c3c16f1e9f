#include "cli/base/jsonline.h"

#include "cli/base/localtime.h"
#include "cli/base/malloc_text.h"

#include <cjson/cJSON.h>
#include <new>

namespace cli {
namespace {

void require(const void *made)
{
    if (!made)
        throw std::bad_alloc();
}

/// Takes over `element`.
void append(cJSON *array, cJSON *element)
{
    require(element);
    cJSON_AddItemToArray(array, element);
}

} // namespace

void JsonLine::Deleter::operator()(cJSON *object) const
{
    cJSON_Delete(object);
}

JsonLine::JsonLine()
    : m_object(cJSON_CreateObject())
{
    require(m_object.get());
}

JsonLine &JsonLine::add(const char *key, const std::string &value)
{
    require(cJSON_AddStringToObject(m_object.get(), key, value.c_str()));
    return *this;
}

JsonLine &JsonLine::add(const char *key, double value)
{
    require(cJSON_AddNumberToObject(m_object.get(), key, value));
    return *this;
}

JsonLine &JsonLine::add(const char *key, bool value)
{
    require(cJSON_AddBoolToObject(m_object.get(), key, value ? 1 : 0));
    return *this;
}

JsonLine &JsonLine::add(const char *key, const std::vector<std::string> &values)
{
    cJSON *const array = cJSON_AddArrayToObject(m_object.get(), key);
    require(array);
    for (const std::string &value : values)
        append(array, cJSON_CreateString(value.c_str()));
    return *this;
}

JsonLine &JsonLine::add(const char *key, const std::vector<JsonLine> &objects)
{
    cJSON *const array = cJSON_AddArrayToObject(m_object.get(), key);
    require(array);
    for (const JsonLine &object : objects)
        append(array, cJSON_Duplicate(object.m_object.get(), 1));
    return *this;
}

JsonLine &JsonLine::addTime()
{
    std::string time = localTime("%Y-%m-%dT%H:%M:%S%z");
    return add("time", time.insert(time.size() - 2, ":"));
}

std::string JsonLine::text() const
{
    const LibraryText text(cJSON_PrintUnformatted(m_object.get()));
    require(text.get());
    return text.get();
}

} // namespace cli
