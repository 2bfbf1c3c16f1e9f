#include "tests/library/fakes/session_fixture.h"

#include <cstdlib>

namespace testing_support {

Heard *heard = nullptr;

namespace {

std::string between(const std::string &text, const std::string &before, const std::string &after)
{
    const std::size_t start = text.find(before) + before.size();
    return text.substr(start, text.find(after, start) - start);
}

} // namespace

void hear(char *json)
{
    const std::string text(json);
    std::free(json);
    {
        const std::lock_guard<std::mutex> lock(heard->mutex);
        heard->events.push_back(between(text, "\"action\":\"", "\"") + " "
                                + between(text, "\"index\":", ",") + " "
                                + between(text, "\"name\":\"", "\""));
    }
    if (heard->onEvent)
        heard->onEvent();
}

void hearElsewhere(char *json)
{
    std::free(json);
    const std::lock_guard<std::mutex> lock(heard->mutex);
    heard->events.push_back("elsewhere");
}

int take(void *, int, int, int)
{
    ++heard->frames;
    if (heard->onFrame)
        heard->onFrame();
    return 0;
}
} // namespace testing_support
