#include "cli/serverprogram.h"

#include "cli/base/errors.h"
#include "cli/base/translation.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace cli {
namespace {

/// The program beside this one, wherever both were installed to.
std::filesystem::path serverProgram()
{
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    return self.parent_path().parent_path() / "libexec" / "korvcam-serve";
}

} // namespace

ExitCode becomeServer(char **argv)
{
    const std::filesystem::path program = serverProgram();
    execv(program.c_str(), argv);
    if (errno == ENOENT)
        printError(tr("the scanner server is not installed; install the package korv-camera-escl"));
    else
        printError(tr("cannot start %1: %2", program.native(), std::strerror(errno)));
    return ExitCode::Failure;
}

} // namespace cli
