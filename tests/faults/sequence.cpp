#include "tests/faults/sequence.h"

#include "tests/faults/shims/fault_shim.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/patterns.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>
#include <random>
#include <set>
#include <sstream>

namespace fs = std::filesystem;

namespace sequence {

namespace {

using Counts = std::array<int, kPictures>;

/// What lies in the folder.
struct Finding
{
    Counts files{}; ///< that hold the picture
    std::set<int> underWorkingNames;
    std::vector<std::string> unexplained;
    std::vector<std::string> unfinished; ///< parts, and empty files
};

bool isExplained(const std::string &name)
{
    return support::fitsWhole(name,
                              "\\.vexalinplixo-preview-\\d{4,}\\.jpg"
                              "|\\d{4,}( \\(\\d+\\))?\\.(pdf|ofd|tiff|jpg)"
                              "|\\d{4,}-rescued-\\d{4,}\\.jpg"
                              "|recovered-\\d{4,}\\.jpg");
}

Finding look(const fs::path &folder)
{
    Finding finding;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        // FUSE keeps a deleted file under such a name until it hears, some time later, of its close
        if (name.compare(0, 12, ".fuse_hidden") == 0)
            continue;
        const korv::Bytes content = pictures::readBytes(entry.path().string());
        if (entry.path().extension() == ".part" || content.empty()) {
            finding.unfinished.push_back(name);
            continue;
        }
        if (!isExplained(name)) {
            finding.unexplained.push_back(name);
            continue;
        }
        for (int i = 0; i < kPictures; ++i) {
            const korv::Bytes &part = picture(i);
            if (::memmem(content.data(), content.size(), part.data(), part.size()) == nullptr)
                continue;
            ++finding.files[static_cast<std::size_t>(i)];
            if (name[0] == '.')
                finding.underWorkingNames.insert(i);
        }
    }
    return finding;
}

/// A folder, the programs in it, and what must be found there.
class World
{
public:
    World(fs::path folder, int missing)
        : m_folder(std::move(folder))
        , m_missing(missing)
    {
    }

    std::string happen(const Step &step)
    {
        std::unique_ptr<Application> &program = m_programs[static_cast<std::size_t>(step.program)];
        const std::set<int> working = look(m_folder).underWorkingNames;
        if (step.what == Step::What::Order) {
            if (!program)
                program = std::make_unique<Application>(m_folder.string(), m_missing);
            const std::optional<Answer> answer = program->give(step.order);
            if (answer)
                note(*answer);
            else // between the writing and the deleting, a picture may lie in two files
                m_killed = true;
            if (!answer)
                m_maybeTwice.insert(working.begin(), working.end());
            if (!answer || step.order.what == Order::What::Close)
                program.reset();
            if (!answer && std::strcmp(step.order.fault, "kill") != 0)
                return "the program died by itself";
        } else if (program) {
            program->kill(step.what == Step::What::Kill ? SIGKILL : SIGTERM);
            program.reset();
        }
        return judge(look(m_folder));
    }

    /// A program that nothing happens to, at the end.
    std::string finish()
    {
        for (std::unique_ptr<Application> &program : m_programs)
            program.reset();
        Step step;
        step.order.picture = kPictures - 1;
        for (const Order::What what :
             {Order::What::Photograph, Order::What::Export, Order::What::Close}) {
            step.order.what = what;
            if (std::string wrong = happen(step); !wrong.empty())
                return wrong;
        }
        const Finding finding = look(m_folder);
        if (!finding.unfinished.empty() && (m_missing & NoLocks) == 0)
            return finding.unfinished.front() + " is never cleared";
        if (finding.files[kPictures - 1] != 1)
            return "the last photograph is not in its document";
        return {};
    }

private:
    void note(const Answer &answer)
    {
        if (answer.added >= 0)
            m_shown.insert(answer.added);
        for (int i = 0; i < answer.deletedCount; ++i)
            m_shown.erase(answer.deleted[i]);
    }

    std::string judge(const Finding &finding) const
    {
        for (const int number : m_shown) {
            const int files = finding.files[static_cast<std::size_t>(number)];
            if (files == 0)
                return "photograph " + std::to_string(number) + " is lost";
            if (files > 1 && m_maybeTwice.count(number) == 0)
                return "photograph " + std::to_string(number) + " lies in " + std::to_string(files)
                    + " files";
        }
        if (!finding.unexplained.empty())
            return "nobody explains " + finding.unexplained.front();
        if (!m_killed && !finding.unfinished.empty())
            return finding.unfinished.front() + " was left though nobody was killed";
        return {};
    }

    fs::path m_folder;
    int m_missing;
    std::array<std::unique_ptr<Application>, 2> m_programs;
    std::set<int> m_shown; ///< and not deleted since
    std::set<int> m_maybeTwice;
    bool m_killed = false;
};

} // namespace

Steps randomSteps(unsigned seed)
{
    std::mt19937 random(seed);
    const auto upTo = [&](int most) {
        return static_cast<int>(random() % static_cast<unsigned>(most));
    };
    constexpr int kErrors[] = {ENOSPC, EIO, EACCES, EMFILE, EDQUOT};
    const bool shared = upTo(3) == 0;
    Steps steps;
    int pictures = 0;
    const int count = 4 + upTo(14);
    while (static_cast<int>(steps.size()) < count && pictures < kPictures - 1) {
        Step step;
        step.program = shared ? upTo(2) : 0;
        const int dice = upTo(100);
        if (dice < 8)
            step.what = dice < 4 ? Step::What::Kill : Step::What::Terminate;
        else if (dice < 55)
            step.order.what = Order::What::Photograph;
        else if (dice < 65)
            step.order.what = Order::What::Import;
        else if (dice < 90)
            step.order.what = Order::What::Export;
        else
            step.order.what = dice < 95 ? Order::What::Delete : Order::What::Close;
        step.order.format = static_cast<Order::Format>(upTo(5));
        step.order.picture = step.order.what == Order::What::Delete ? upTo(10) : pictures++;
        constexpr const char *kFaults[] = {"", "", "", "any", "full", "kill", "kill", "short"};
        std::strcpy(step.order.fault, kFaults[upTo(8)]);
        step.order.nth = std::strcmp(step.order.fault, "full") == 0 ? 1 + upTo(4) : 1 + upTo(60);
        step.order.error = kErrors[upTo(5)];
        if (std::strcmp(step.order.fault, "full") == 0)
            step.order.error = ENOSPC;
        steps.push_back(step);
    }
    return steps;
}

std::string textOf(const Steps &steps)
{
    constexpr const char *kWhat[] = {"photograph", "import", "export", "delete", "close"};
    constexpr const char *kFormats[] = {"pdf", "ofd", "tiff", "single jpg", "single pdf"};
    std::ostringstream text;
    for (const Step &step : steps) {
        const Order &order = step.order;
        text << "  program " << step.program << ": ";
        if (step.what != Step::What::Order) {
            text << (step.what == Step::What::Kill ? "SIGKILL\n" : "SIGTERM\n");
            continue;
        }
        text << kWhat[static_cast<int>(order.what)];
        if (order.what == Order::What::Export)
            text << " as " << kFormats[static_cast<int>(order.format)];
        else if (order.what != Order::What::Close)
            text << ' ' << order.picture;
        if (order.fault[0] != '\0')
            text << ", " << order.fault << ':' << order.nth << ':' << order.error;
        text << '\n';
    }
    return text.str();
}

std::string run(const Steps &steps, const fs::path &folder, int missing)
{
    std::string wrong;
    {
        World world(folder, missing);
        for (const Step &step : steps) {
            wrong = world.happen(step);
            if (!wrong.empty())
                break;
        }
        if (wrong.empty())
            wrong = world.finish();
    }
    for (const fs::directory_entry &entry : fs::directory_iterator(folder))
        fs::remove_all(entry);
    return wrong;
}

Steps shortened(Steps steps, const fs::path &folder, int missing)
{
    for (std::size_t at = steps.size(); at-- > 0;) {
        Steps fewer = steps;
        fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(at));
        if (!run(fewer, folder, missing).empty())
            steps = std::move(fewer);
    }
    return steps;
}

} // namespace sequence
