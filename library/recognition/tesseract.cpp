#include "library/recognition/tesseract.h"

#include "library/base/log.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace korv {

namespace {

constexpr char kName[] = "text recognition";
constexpr std::int64_t kMaxPagePixels = 40'000'000;

/// A threshold for each place (Sauvola). With a single one for all of the page, which is Tesseract's
/// choice, a shadow makes the page a picture without writing.
constexpr char kSauvola[] = "thresholding_method=2";

std::string variable(const char *name)
{
    const char *const value = ::secure_getenv(name);
    return value != nullptr ? value : "";
}

/// Relative folders of PATH are left out: the working folder is anybody's.
std::string findProgram(const std::string &name)
{
    std::string path = variable("PATH");
    if (path.empty())
        path = "/usr/local/bin:/usr/bin:/bin";
    std::istringstream folders(path);
    for (std::string folder; std::getline(folders, folder, ':');) {
        const std::string file = folder + "/" + name;
        struct stat state = {};
        if (!folder.empty() && folder[0] == '/' && ::stat(file.c_str(), &state) == 0
            && S_ISREG(state.st_mode) && ::access(file.c_str(), X_OK) == 0)
            return file;
    }
    return {};
}

/// Debian's package of a language.
std::string packageOf(std::string language)
{
    std::replace(language.begin(), language.end(), '_', '-');
    return "tesseract-ocr-" + language;
}

/// Resolutions that Tesseract believes; with others it estimates one.
bool isBelieved(double dpi)
{
    return dpi >= 70 && dpi <= 2400;
}

} // namespace

Tesseract::Tesseract(TextLanguages languages, std::string loss)
    : m_languages(std::move(languages))
    , m_loss(std::move(loss))
    , m_program(findProgram("tesseract"))
{
    // one thread: the others would take the processors from the camera, for a tenth of the time
    m_environment = {"OMP_THREAD_LIMIT=1", "LC_ALL=C.UTF-8", "PATH=/usr/local/bin:/usr/bin:/bin"};
    for (const char *name : {"TESSDATA_PREFIX", "LD_LIBRARY_PATH"}) {
        if (const std::string value = variable(name); !value.empty())
            m_environment.push_back(std::string(name) + "=" + value);
    }
}

ProgramCall Tesseract::call(std::vector<std::string> arguments) const
{
    return {m_program, std::move(arguments), m_environment};
}

Result<void> Tesseract::askForLanguages(const ProgramLimits &limits, const EventFd &stop) const
{
    if (m_program.empty())
        return Error{-ENOENT, "tesseract is not installed (package tesseract-ocr)"};
    const Result<UniqueFd> nothing = memoryFile({});
    if (!nothing)
        return nothing.error();
    const Result<ProgramOutput> said =
        runLimited(call({"--list-langs"}), nothing.value().get(), limits, stop);
    if (!said)
        return Error{said.code(), m_program + ": " + said.error().text};
    std::vector<std::string> known;
    std::istringstream lines(said.value().text);
    for (std::string line; std::getline(lines, line);)
        known.push_back(line);
    for (const std::string &language : m_languages.list()) {
        if (std::find(known.begin(), known.end(), language) == known.end())
            return Error{-ENOENT,
                         "tesseract does not know the language " + language + " (package "
                             + packageOf(language) + ")"};
    }
    return {};
}

bool Tesseract::isReady(const ProgramLimits &limits, const EventFd &stop)
{
    const MutexLock lock(m_mutex);
    if (m_isReady)
        return *m_isReady;
    const Result<void> answer = askForLanguages(limits, stop);
    if (answer.code() == -ECANCELED)
        return false;
    if (!answer)
        logLine(LogLevel::Warning, kName, m_loss, answer.error().text);
    m_isReady = static_cast<bool>(answer);
    return *m_isReady;
}

Result<std::string> Tesseract::describe(const Image &gray, const ProgramLimits &limits,
                                        const EventFd &stop, Layout layout) const
{
    if (static_cast<std::int64_t>(gray.width()) * gray.height() > kMaxPagePixels)
        return Error{-EFBIG, "larger than any page"};
    // PGM, which Tesseract reads without decoding anything
    const std::string head =
        "P5\n" + std::to_string(gray.width()) + " " + std::to_string(gray.height()) + "\n255\n";
    const std::size_t size = gray.stride() * static_cast<std::size_t>(gray.height());
    const Result<UniqueFd> picture =
        memoryFile({ByteView(head.data(), head.size()), ByteView(gray.pixels(), size)});
    if (!picture)
        return picture.error();
    std::vector<std::string> arguments = {"stdin", "stdout",
                                          "-l",    m_languages.names,
                                          "-c",    "tessedit_create_tsv=1",
                                          "-c",    "tessedit_create_txt=1",
                                          "-c",    kSauvola};
    const double dpi = gray.resolution().y;
    if (isBelieved(dpi))
        arguments.insert(arguments.end(), {"--dpi", std::to_string(std::lround(dpi))});
    if (layout == Layout::Block)
        arguments.insert(arguments.end(), {"--psm", "6"});
    Result<ProgramOutput> said =
        runLimited(call(std::move(arguments)), picture.value().get(), limits, stop);
    if (!said)
        return said.error();
    return std::move(said).value().text;
}

} // namespace korv
