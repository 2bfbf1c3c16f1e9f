#include "cli/base/jsonline.h"

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

std::string JsonLine::text() const
{
    const LibraryText text(cJSON_PrintUnformatted(m_object.get()));
    require(text.get());
    return text.get();
}

} // namespace cli
