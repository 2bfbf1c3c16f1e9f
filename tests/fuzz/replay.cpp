// Runs files through a fuzz target without libFuzzer:
//     fuzz-TARGET FILE-OR-FOLDER...
// A target ends the process when one of its properties does not hold.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
// libFuzzer calls it first, where a target has one
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int *argc, char ***argv);

namespace {

namespace fs = std::filesystem;

constexpr long kMaxMegabytes = 1000; ///< what no input of some kilobytes may make the process take

std::vector<fs::path> filesBelow(const fs::path &place)
{
    if (!fs::is_directory(place))
        return {place};
    std::vector<fs::path> files;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(place)) {
        if (entry.is_regular_file())
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool staysSmall()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024 <= kMaxMegabytes;
}

bool run(const fs::path &file)
{
    std::ifstream in(file, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(in), {}};
    if (!in.is_open() || in.bad()) {
        std::fprintf(stderr, "cannot read %s\n", file.c_str());
        return false;
    }
    // of exactly the size, so that the sanitizer sees a read past its end
    const std::vector<std::uint8_t> data(content.begin(), content.end());
    // the last line of a crash's output then says which file it was
    std::printf("%s\n", file.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(data.data(), data.size());
    if (!staysSmall()) {
        std::fprintf(stderr, "%s took more than %ld MB\n", file.c_str(), kMaxMegabytes);
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    int count = 0;
    if (LLVMFuzzerInitialize != nullptr)
        LLVMFuzzerInitialize(&argc, &argv);
    try {
        for (int i = 1; i < argc; ++i) {
            // a target without a known crasher has no folder for them
            if (!fs::exists(argv[i]))
                continue;
            for (const fs::path &file : filesBelow(argv[i])) {
                if (!run(file))
                    return 1;
                ++count;
            }
        }
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
