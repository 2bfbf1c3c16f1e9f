#include "tests/faults/application.h"

#include "tests/faults/desk.h"
#include "tests/faults/shims/fault_shim.h"
#include "tests/library/support/sample_pictures.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace sequence {

namespace {

std::string fourDigits(int number)
{
    char text[16];
    std::snprintf(text, sizeof text, "%04d", number);
    return text;
}

/// The working process's side.
class Window
{
public:
    Window(std::string folder, int missing)
        : m_folder(std::move(folder))
        , m_missing(missing)
    {
    }

    Answer obey(const Order &order)
    {
        Answer answer;
        switch (order.what) {
        case Order::What::Photograph:
            photograph(order, answer);
            break;
        case Order::What::Import:
            importFile(order, answer);
            break;
        case Order::What::Export:
            exportAll(order, answer);
            break;
        case Order::What::Delete:
            if (!m_strip.empty()) {
                const std::size_t at = static_cast<std::size_t>(order.picture) % m_strip.size();
                deleteFile(m_strip[at], answer);
                m_strip.erase(m_strip.begin() + static_cast<std::ptrdiff_t>(at));
            }
            break;
        case Order::What::Close:
            static_cast<void>(m_library.uninitialise());
            for (const std::string &file : m_strip)
                deleteFile(file, answer);
            m_strip.clear();
            break;
        }
        answer.entries = static_cast<int>(m_strip.size());
        return answer;
    }

private:
    void arm(const Order &order) const
    {
        setMissingFeatures(m_missing);
        armFault(order.fault[0] != '\0' ? order.fault : "quiet", order.nth, order.error);
    }
    /// A death that is due comes later, too; other faults concern the library.
    static void disarm(const Order &order)
    {
        if (std::strcmp(order.fault, "kill") != 0)
            armFault("quiet", 0, 0);
    }
    std::string nextFile()
    {
        return m_folder + "/.vexalinplixo-preview-" + fourDigits(m_nextPhotograph++) + ".jpg";
    }
    void addIfWritten(const std::string &file, Answer &answer)
    {
        if (::access(file.c_str(), F_OK) != 0)
            return;
        m_strip.push_back(file);
        answer.added = numberOf(pictures::readBytes(file));
    }
    void photograph(const Order &order, Answer &answer)
    {
        korv::Bytes frame = picture(order.picture);
        frame.resize(std::size_t{kWidth} * kHeight * 3);
        const std::string file = nextFile();
        arm(order);
        answer.result = m_library.saveVideoData(frame.data(), kWidth, kHeight, 0, file.c_str());
        disarm(order);
        addIfWritten(file, answer);
    }
    void importFile(const Order &order, Answer &answer)
    {
        const std::string file = nextFile();
        if (!fs::exists(file)) {
            pictures::writeBytes(m_folder + "/.import", picture(order.picture));
            fs::rename(m_folder + "/.import", file);
        }
        addIfWritten(file, answer);
    }
    void exportAll(const Order &order, Answer &answer)
    {
        constexpr const char *kExtensions[] = {".pdf", ".ofd", ".tiff", ".jpg", ".pdf"};
        const std::string extension = kExtensions[static_cast<int>(order.format)];
        const bool single =
            order.format == Order::Format::Jpg || order.format == Order::Format::SinglePdf;
        const auto outputFile = [&] {
            return m_folder + "/" + fourDigits(m_nextOutput++) + extension;
        };
        arm(order);
        for (const std::string &file : m_strip) {
            if (::access(file.c_str(), F_OK) != 0)
                continue;
            const int result = single ? m_library.convert(file.c_str(), outputFile().c_str())
                                      : m_library.add(file.c_str());
            answer.result = std::min(answer.result, result);
        }
        if (!single)
            answer.result = std::min(answer.result, m_library.combine(outputFile().c_str()));
        disarm(order);
        for (const std::string &file : m_strip)
            ::unlink(file.c_str());
        m_strip.clear();
        m_nextPhotograph = 1;
    }
    static void deleteFile(const std::string &file, Answer &answer)
    {
        if (fs::exists(file))
            answer.deleted[answer.deletedCount++] = numberOf(pictures::readBytes(file));
        ::unlink(file.c_str());
    }

    CameraLibrary m_library;
    std::string m_folder;
    int m_missing;
    std::vector<std::string> m_strip; ///< working files
    int m_nextPhotograph = 1;
    int m_nextOutput = 1;
};

[[noreturn]] void work(int line, const std::string &folder, int missing)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const korv::UniqueFd nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    ::dup2(nowhere.get(), STDERR_FILENO);
    try {
        Window window(folder, missing);
        Order order;
        while (::recv(line, &order, sizeof order, 0) == sizeof order) {
            const Answer answer = window.obey(order);
            armFault("quiet", 0, 0);
            if (::send(line, &answer, sizeof answer, 0) != sizeof answer)
                break;
        }
    } catch (...) { // the other side sees the end
    }
    ::_exit(0);
}

} // namespace

const korv::Bytes &picture(int number)
{
    static const std::array<korv::Bytes, kPictures> all = [] {
        std::array<korv::Bytes, kPictures> made;
        for (int i = 0; i < kPictures; ++i) {
            korv::Image image(kWidth, kHeight, korv::PixelFormat::Rgb24);
            for (int y = 0; y < kHeight; ++y) {
                for (std::size_t x = 0; x < image.stride(); ++x)
                    image.row(y)[x] = static_cast<std::uint8_t>((i >> (y / 4) & 1) * 150
                                                                + static_cast<int>(x) + 2 * i / 3);
            }
            made[static_cast<std::size_t>(i)] = pictures::jpegOf(image);
        }
        return made;
    }();
    return all[static_cast<std::size_t>(number)];
}

int numberOf(const korv::Bytes &content)
{
    for (int i = 0; i < kPictures; ++i) {
        if (picture(i) == content)
            return i;
    }
    return -1;
}

Application::Application(const std::string &folder, int missing)
{
    static_cast<void>(picture(0)); // all are made once, not in each process
    static_cast<void>(CameraLibrary());
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        throw std::runtime_error("socketpair");
    m_line.reset(ends[0]);
    const korv::UniqueFd other(ends[1]);
    m_process = ::fork();
    if (m_process < 0)
        throw std::runtime_error("fork");
    if (m_process == 0) {
        m_line.reset();
        work(other.get(), folder, missing);
    }
}

Application::~Application()
{
    kill(SIGKILL);
}

std::optional<Answer> Application::give(const Order &order)
{
    Answer answer;
    if (::send(m_line.get(), &order, sizeof order, MSG_NOSIGNAL) != sizeof order
        || ::recv(m_line.get(), &answer, sizeof answer, 0) != sizeof answer)
        return std::nullopt;
    return answer;
}

void Application::kill(int signal)
{
    if (m_process <= 0)
        return;
    ::kill(m_process, signal);
    ::waitpid(m_process, nullptr, 0);
    m_process = -1;
}

} // namespace sequence
