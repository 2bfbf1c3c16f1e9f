#pragma once

#include <memory>
#include <string>
#include <vector>

struct cJSON;

namespace cli {

/// One JSON object on one line, its members in the order of the calls. Texts are UTF-8; bytes that
/// are not, as names of files may hold, pass unchanged.
class JsonLine
{
public:
    JsonLine();

    JsonLine &add(const char *key, const std::string &value);
    JsonLine &add(const char *key, const char *value) { return add(key, std::string(value)); }
    /// Numbers up to 2 to the power of 53 are exact.
    JsonLine &add(const char *key, double value);
    JsonLine &add(const char *key, int value) { return add(key, static_cast<double>(value)); }
    JsonLine &add(const char *key, bool value);
    JsonLine &add(const char *key, const std::vector<std::string> &values);
    JsonLine &add(const char *key, const std::vector<JsonLine> &objects);

    /// "time": now, in ISO 8601 with the distance to UTC.
    JsonLine &addTime();

    /// The line, without its end. Throws std::bad_alloc.
    std::string text() const;

private:
    struct Deleter
    {
        void operator()(cJSON *object) const;
    };

    std::unique_ptr<cJSON, Deleter> m_object;
};

} // namespace cli
