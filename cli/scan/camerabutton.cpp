#include "cli/scan/camerabutton.h"

#include "cli/base/folderentries.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/input.h>
#include <sstream>
#include <vector>

namespace cli {
namespace {

namespace fs = std::filesystem;

/// Whether an input device has the camera key. The file holds words of the kernel's own width in
/// hexadecimal, the highest first, leading zeros left out.
bool hasCameraKey(const fs::path &input)
{
    std::ifstream file(input / "capabilities" / "key");
    std::vector<unsigned long> words;
    for (unsigned long word = 0; file >> std::hex >> word;)
        words.push_back(word);
    constexpr std::size_t kBits = 8 * sizeof(unsigned long);
    constexpr std::size_t kWord = KEY_CAMERA / kBits;
    return words.size() > kWord
        && (words[words.size() - 1 - kWord] >> (KEY_CAMERA % kBits) & 1) != 0;
}

/// "event3" of an input device; empty when it has no such node.
std::string eventOf(const fs::path &input)
{
    for (const fs::path &entry : entriesOf(input)) {
        const std::string name = entry.filename().string();
        if (name.compare(0, 5, "event") == 0)
            return name;
    }
    return {};
}

} // namespace

std::string CameraButton::find(const std::string &node, const Folders &folders)
{
    std::error_code error;
    const fs::path interface =
        fs::canonical(fs::path(folders.videoNodes) / fs::path(node).filename() / "device", error);
    if (error)
        return {};
    // the button may hang on another interface of the camera than the pictures
    for (const fs::path &each : entriesOf(interface.parent_path())) {
        for (const fs::path &input : entriesOf(each / "input")) {
            const std::string event = hasCameraKey(input) ? eventOf(input) : std::string();
            if (!event.empty())
                return folders.input + "/" + event;
        }
    }
    return {};
}

CameraButton::CameraButton(const std::string &path)
    : m_descriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC))
    , m_error(m_descriptor ? 0 : errno)
{
}

int CameraButton::presses()
{
    int presses = 0;
    std::array<input_event, 16> events{};
    while (m_descriptor) {
        const ssize_t got = read(m_descriptor.get(), events.data(), sizeof events);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 && errno == EAGAIN)
            break;
        if (got <= 0) {
            m_error = got < 0 ? errno : ENODEV;
            m_descriptor.reset();
            break;
        }
        const auto count = static_cast<std::size_t>(got) / sizeof(input_event);
        presses += static_cast<int>(std::count_if(
            events.begin(), events.begin() + static_cast<std::ptrdiff_t>(count),
            [](const input_event &event) {
                return event.type == EV_KEY && event.code == KEY_CAMERA && event.value == 1;
            }));
    }
    return presses;
}

} // namespace cli
