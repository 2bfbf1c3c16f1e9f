// Programs that were started without standard input, output or error.

#include "tests/faults/child.h"
#include "tests/faults/desk.h"
#include "tests/faults/shims/fault_shim.h"
#include "tests/library/support/sample_pictures.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

void closeStandardDescriptors(int from = STDIN_FILENO)
{
    for (int descriptor = from; descriptor <= STDERR_FILENO; ++descriptor)
        ::close(descriptor);
}

int openStandardDescriptors()
{
    int count = 0;
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        count += ::fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
    return count;
}

template <typename Function> Function entry(const char *name)
{
    return reinterpret_cast<Function>(
        ::dlsym(::dlopen(KORV_LIBRARY_FILE, RTLD_NOW | RTLD_NOLOAD), name));
}

} // namespace

TEST(LowDescriptors, noLogLineLandsInADocument)
{
    const CameraLibrary library;
    for (const int from : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        const support::TempHome home;
        const Desk desk(home.scratch());
        for (const std::string name : {"0001.pdf", "0002.tiff", "0003.ofd"}) {
            pictures::writeBytes(desk.path(name), korv::Bytes(1));
            const int result = inChild([&] {
                closeStandardDescriptors(from);
                for (int i = 0; i < Desk::kPhotographs; ++i)
                    static_cast<void>(library.add(desk.workingFile(i).c_str()));
                // breaks between adding and combining: told in the middle, and kept
                fs::resize_file(desk.workingFile(1), 1000);
                return -library.combine(desk.path(name).c_str());
            });
            EXPECT_EQ(result, EBADMSG);
            pictures::writeBytes(desk.workingFile(1), Desk::photograph(1));
            const std::string made = name.substr(0, 4) + " (1)" + name.substr(4);
            const korv::Bytes content = pictures::readBytes(desk.path(made));
            ASSERT_GT(content.size(), 100U) << made;
            EXPECT_EQ(::memmem(content.data(), content.size(), "korvcamera", 10), nullptr) << made;
            const std::string head(content.begin(), content.begin() + 4);
            EXPECT_TRUE(head == "%PDF" || head.substr(0, 2) == "II" || head.substr(0, 2) == "PK");
        }
        EXPECT_EQ(desk.countFinished(0), 4) << "the working file, pdf, ofd and tiff";
    }
}

TEST(LowDescriptors, cameraWorkLeavesThemToTheProgram)
{
    const CameraLibrary library;
    const support::TempHome home;
    const auto initialise = entry<decltype(&KorvCamera_Init)>("KorvCamera_Init");
    const auto open = entry<decltype(&KorvCamera_Open)>("KorvCamera_Open");
    const auto start = entry<decltype(&KorvCamera_StartCapture)>("KorvCamera_StartCapture");
    const auto uninitialise = entry<decltype(&KorvCamera_UnInit)>("KorvCamera_UnInit");
    for (const std::string &desk : {std::string("builtin"), home.scratch().string()}) {
        EXPECT_EQ(inChild([&] {
                      ::setenv("KORV_CAMERA_DESK", desk.c_str(), 1);
                      // a real camera would come first, and nobody knows what it does
                      ::setenv("KORV_CAMERA_REAL", desk == "builtin" ? "0" : "1", 1);
                      closeStandardDescriptors();
                      if (initialise() != 0)
                          return 90;
                      int seen = 0;
                      const auto look = [&] { seen = std::max(seen, openStandardDescriptors()); };
                      look();
                      if (desk == "builtin") {
                          for (int i = 0; i < 100 && open(0) != 0; ++i)
                              std::this_thread::sleep_for(std::chrono::milliseconds(20));
                          look();
                          if (start(0, [](void *, int, int, int) { return 0; }) != 0)
                              return 91;
                      }
                      std::this_thread::sleep_for(std::chrono::milliseconds(100));
                      look();
                      uninitialise();
                      return seen;
                  }),
                  0)
            << desk;
    }
}
