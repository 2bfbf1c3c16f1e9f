#include "tests/faults/mounted_disk.h"

#include "tests/library/support/program.h"

#include <chrono>
#include <fstream>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr int kAttempts = 250;
constexpr auto kPause = std::chrono::milliseconds(20);

bool isMounted(const fs::path &folder)
{
    return runProgram({"mountpoint", "-q", folder.string()}).status == 0;
}

} // namespace

MountedDisk::MountedDisk(const std::string &kind, const fs::path &room, std::uintmax_t bytes)
    : m_folder(room / kind)
{
    if (::access("/dev/fuse", R_OK | W_OK) != 0 || ::geteuid() != 0) {
        m_problem = "needs root and /dev/fuse";
        return;
    }
    const std::string image = (room / (kind + ".image")).string();
    std::ofstream(image).close();
    fs::resize_file(image, bytes);
    fs::create_directories(m_folder);
    const bool isFat = kind == "fat";
    const ProgramResult made =
        isFat ? runProgram({"mkfs.vfat", image}) : runProgram({"mkfs.ntfs", "-F", "-q", image});
    const ProgramResult mounted = isFat
        ? runProgram({"fusefat", "-o", "rw+", image, m_folder.string()})
        : runProgram({"ntfs-3g", image, m_folder.string()});
    if (made.status != 0 || mounted.status != 0) {
        m_problem = "no " + kind + ": " + made.errors + mounted.errors;
        return;
    }
    for (int i = 0; i < kAttempts && !isMounted(m_folder); ++i)
        std::this_thread::sleep_for(kPause);
    if (!isMounted(m_folder))
        m_problem = kind + " was never mounted";
}

MountedDisk::~MountedDisk()
{
    for (int i = 0; i < kAttempts && isMounted(m_folder); ++i) {
        if (runProgram({"umount", m_folder.string()}).status != 0)
            std::this_thread::sleep_for(kPause); // it may still be busy
    }
}

void MountedDisk::fill(std::uintmax_t leave) const
{
    const std::uintmax_t room = fs::space(m_folder).available;
    std::ofstream file(m_folder / "filling", std::ios::binary | std::ios::app);
    file << std::string(room > leave ? room - leave : 0, '\0');
}
