#include "tests/library/support/program.h"

#include "library/base/unique_fd.h"

#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace {

korv::UniqueFd unnamedFile()
{
    korv::UniqueFd file(::open("/tmp", O_TMPFILE | O_RDWR, 0600));
    if (!file)
        throw std::runtime_error("no temporary file");
    return file;
}

std::string contentOf(int file)
{
    std::string content;
    char buffer[65536];
    ssize_t count = 0;
    off_t at = 0;
    while ((count = ::pread(file, buffer, sizeof buffer, at)) > 0) {
        content.append(buffer, static_cast<std::size_t>(count));
        at += count;
    }
    return content;
}

} // namespace

ProgramResult runProgram(const std::vector<std::string> &arguments)
{
    std::vector<char *> pointers;
    for (const std::string &argument : arguments)
        pointers.push_back(const_cast<char *>(argument.c_str()));
    pointers.push_back(nullptr);
    const korv::UniqueFd output = unnamedFile();
    const korv::UniqueFd errors = unnamedFile();
    const pid_t child = ::fork();
    if (child < 0)
        throw std::runtime_error("fork");
    if (child == 0) {
        ::dup2(output.get(), STDOUT_FILENO);
        ::dup2(errors.get(), STDERR_FILENO);
        ::execvp(pointers[0], pointers.data());
        ::_exit(127);
    }
    int status = 0;
    if (::waitpid(child, &status, 0) != child)
        throw std::runtime_error("waitpid");
    ProgramResult result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.output = contentOf(output.get());
    result.errors = contentOf(errors.get());
    return result;
}
