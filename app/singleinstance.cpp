#include "app/singleinstance.h"

#include "util/ownenvironment.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char kProgramName[] = "vexalin-plixo-base";
constexpr char kListCommand[] = "ps -aux | grep  vexalin-plixo-base | grep -v grep | grep -v ps";
constexpr char kPidFile[] = "/tmp/vexalin-plixo-base.pid";
constexpr std::size_t kListingLimit = 4096;

struct ClosePipe
{
    void operator()(std::FILE *pipe) const { ::pclose(pipe); }
};

/// The first bytes of what the command prints; empty when it cannot be run.
std::string readListing()
{
    const ownenvironment::Hidden hidden;
    const std::unique_ptr<std::FILE, ClosePipe> pipe{::popen(kListCommand, "r")};
    if (!pipe)
        return {};
    std::array<char, kListingLimit> buffer{};
    return {buffer.data(), std::fread(buffer.data(), 1, buffer.size(), pipe.get())};
}

/// Asks without waiting for a write lock on the whole file.
bool lockWholeFile(int file)
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return ::fcntl(file, F_SETLK, &lock) == 0;
}

} // namespace

int getAppIsRunning()
{
    const std::string listing = readListing();
    if (listing.empty()) {
        std::printf("getAppIsRunning() Rlen=%d\n", 0);
        return 0;
    }
    std::size_t position = listing.find(kProgramName);
    if (position == std::string::npos) {
        std::printf("getAppIsRunning() position=%d\n", -1);
        return 0;
    }
    int count = 0;
    std::string rest = listing;
    while (position != std::string::npos) {
        ++count;
        rest.erase(0, position + 1);
        position = rest.find(kProgramName);
        std::printf("getAppIsRunning() strName=%s\n", rest.c_str());
        std::printf("getAppIsRunning() Tmpstr=%s\n", listing.c_str());
    }
    if (count == 1)
        return 0;
    std::printf("[%s][%d]检测vexalin-plixo-base 已运行", "getAppIsRunning", 87);
    return 1;
}

int getProcessIsRunning()
{
    std::printf("[func:%s] [line:%d] get process status\n", "getProcessIsRunning", 112);
    const int file = ::open(kPidFile, O_RDWR | O_CREAT, 0666);
    if (file < 0) {
        const int reason = errno;
        std::printf("return fd = %d, can't open %s: %s\n", file, kPidFile, std::strerror(reason));
        if (reason == EEXIST)
            std::printf("This process already running : %s", std::strerror(reason));
        return 1;
    }
    if (::fchmod(file, 0666) < 0)
        std::printf("[func:%s]reopenfile:%s change chmod fail!", "getProcessIsRunning", kPidFile);
    if (!lockWholeFile(file)) {
        std::printf("file \"%s\" locked. proc already exit!!!\n", kPidFile);
        ::close(file);
        return 1;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%ld", static_cast<long>(::getpid()));
    const std::size_t length = std::strlen(text.data()) + 1;
    // The lock is what counts; the number in the file is for people who look.
    if (::ftruncate(file, 0) < 0 || ::write(file, text.data(), length) < 0)
        std::perror(kPidFile);
    return 0; // the descriptor stays open: the lock lasts as long as the process
}
