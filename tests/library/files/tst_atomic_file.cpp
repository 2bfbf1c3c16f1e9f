#include "library/files/atomic_file.h"

#include "tests/library/support/folder_entries.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

using namespace korv;
using testing_support::entriesIn;
namespace fs = std::filesystem;

namespace {

/// A disk that is full after some bytes: the process's own limit on file sizes.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        m_handler = std::signal(SIGXFSZ, SIG_IGN); // or the process ends instead of an error
        ::getrlimit(RLIMIT_FSIZE, &m_previous);
        const rlimit limit = {bytes, m_previous.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit m_previous{};
    void (*m_handler)(int) = SIG_DFL;
};

class AtomicFileTest : public testing::TestWithParam<TemporaryKind>
{
protected:
    std::string path(const std::string &name) const { return (m_home.scratch() / name).string(); }
    std::unique_ptr<AtomicFile> create(const std::string &name,
                                       Existing existing = Existing::Replace) const
    {
        Result<std::unique_ptr<AtomicFile>> file =
            AtomicFile::create(path(name), existing, GetParam());
        EXPECT_TRUE(file) << file.error().text;
        return file ? std::move(file).value() : nullptr;
    }
    std::ptrdiff_t entries() const { return entriesIn(m_home.scratch()); }

    support::TempHome m_home;
};

INSTANTIATE_TEST_SUITE_P(Kinds, AtomicFileTest,
                         testing::Values(TemporaryKind::NamelessIfPossible, TemporaryKind::Named));

} // namespace

TEST_P(AtomicFileTest, appearsOnlyWithCommit)
{
    const std::unique_ptr<AtomicFile> file = create("a.pdf");
    ASSERT_TRUE(file);
    ASSERT_TRUE(file->write(std::string("content")));
    EXPECT_FALSE(fs::exists(path("a.pdf")));
    ASSERT_TRUE(file->commit());
    EXPECT_EQ(support::readFile(path("a.pdf")), "content");
    EXPECT_EQ(entries(), 1);
}

TEST_P(AtomicFileTest, nothingStaysWithoutCommit)
{
    {
        const std::unique_ptr<AtomicFile> file = create("a.pdf");
        ASSERT_TRUE(file);
        ASSERT_TRUE(file->write(ByteView(Bytes(300'000, 1))));
    }
    EXPECT_EQ(entries(), 0);
}

TEST_P(AtomicFileTest, existingFileIsReplacedAtOnce)
{
    pictures::writeBytes(path("a.pdf"), Bytes(10, 1));
    const std::unique_ptr<AtomicFile> file = create("a.pdf");
    ASSERT_TRUE(file);
    ASSERT_TRUE(file->write(std::string("new")));
    EXPECT_EQ(pictures::readBytes(path("a.pdf")), Bytes(10, 1));
    ASSERT_TRUE(file->commit());
    EXPECT_EQ(support::readFile(path("a.pdf")), "new");
    EXPECT_EQ(entries(), 1);
}

TEST_P(AtomicFileTest, smallLargeAndPatchingWritesEndUpInOrder)
{
    const std::unique_ptr<AtomicFile> file = create("a");
    ASSERT_TRUE(file);
    Bytes expected;
    for (int i = 0; i < 200; ++i) {
        const Bytes piece(static_cast<std::size_t>(i % 7 == 0 ? 90'000 : 10 + i),
                          static_cast<std::uint8_t>(i));
        ASSERT_TRUE(file->write(ByteView(piece)));
        expected.insert(expected.end(), piece.begin(), piece.end());
        EXPECT_EQ(file->size(), expected.size());
        if (i % 10 == 3) {
            const Bytes patch(5, 0xEE);
            ASSERT_TRUE(file->writeAt(static_cast<std::uint64_t>(i), patch));
            std::copy(patch.begin(), patch.end(), expected.begin() + i);
        }
    }
    Bytes back(1000);
    const Result<std::size_t> read = file->readAt(90'000, back.data(), back.size());
    ASSERT_TRUE(read);
    EXPECT_EQ(read.value(), back.size());
    EXPECT_TRUE(std::equal(back.begin(), back.end(), expected.begin() + 90'000));
    ASSERT_TRUE(file->commit());
    EXPECT_EQ(pictures::readBytes(path("a")), expected);
}

TEST_P(AtomicFileTest, fullDiskLeavesTheOldFileAndNothingElse)
{
    pictures::writeBytes(path("a.pdf"), Bytes(10, 1));
    {
        const FileSizeLimit limit(100'000);
        const std::unique_ptr<AtomicFile> file = create("a.pdf");
        ASSERT_TRUE(file);
        const Result<void> written = file->write(ByteView(Bytes(200'000, 2)));
        EXPECT_EQ(written.code(), -EFBIG);
    }
    EXPECT_EQ(pictures::readBytes(path("a.pdf")), Bytes(10, 1));
    EXPECT_EQ(entries(), 1);
}

TEST_P(AtomicFileTest, existingFileStaysAndTheNewOneTakesTheNextFreeName)
{
    for (const std::string &expected :
         {std::string("a.pdf"), std::string("a (1).pdf"), std::string("a (2).pdf")}) {
        const std::unique_ptr<AtomicFile> file = create("a.pdf", Existing::KeepBoth);
        ASSERT_TRUE(file && file->write(expected));
        EXPECT_FALSE(file->isNamed());
        ASSERT_TRUE(file->commit());
        EXPECT_TRUE(file->isNamed());
        EXPECT_EQ(file->path(), path(expected));
        EXPECT_EQ(support::readFile(path(expected)), expected);
    }
    EXPECT_EQ(support::readFile(path("a.pdf")), "a.pdf");
    EXPECT_EQ(entries(), 3);
}

TEST_P(AtomicFileTest, filesThatWantOneNameAtTheSameTimeAllStay)
{
    constexpr int kFiles = 20;
    std::vector<std::unique_ptr<AtomicFile>> files;
    for (int i = 0; i < kFiles; ++i) {
        files.push_back(create("a.pdf", Existing::KeepBoth));
        ASSERT_TRUE(files.back() && files.back()->write(std::to_string(i)));
    }
    std::vector<std::thread> threads;
    for (const std::unique_ptr<AtomicFile> &file : files) {
        threads.emplace_back([&] {
            const Result<void> done = file->commit();
            EXPECT_TRUE(done) << done.error().text;
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(entries(), kFiles);
    std::set<std::string> contents;
    for (const std::unique_ptr<AtomicFile> &file : files)
        contents.insert(support::readFile(file->path()));
    EXPECT_EQ(contents.size(), std::size_t{kFiles});
}

TEST_P(AtomicFileTest, linksAndFoldersOfTheNameStayToo)
{
    fs::create_directory(path("a.pdf"));
    fs::create_symlink("nowhere", path("a (1).pdf"));
    const std::unique_ptr<AtomicFile> file = create("a.pdf", Existing::KeepBoth);
    ASSERT_TRUE(file && file->write(std::string("x")) && file->commit());
    EXPECT_EQ(file->path(), path("a (2).pdf"));
    EXPECT_FALSE(fs::exists(path("nowhere")));
}

TEST_P(AtomicFileTest, refusingPolicyLeavesTheOldFile)
{
    pictures::writeBytes(path("a.pdf"), Bytes(10, 1));
    {
        const std::unique_ptr<AtomicFile> file = create("a.pdf", Existing::Refuse);
        ASSERT_TRUE(file && file->write(std::string("x")));
        EXPECT_EQ(file->commit().code(), -EEXIST);
        EXPECT_FALSE(file->isNamed());
    }
    EXPECT_EQ(pictures::readBytes(path("a.pdf")), Bytes(10, 1));
    EXPECT_EQ(entries(), 1);
}

TEST_P(AtomicFileTest, longestNameIsCutToMakeRoomForTheNumber)
{
    const std::string longest = std::string(251, 'n') + ".pdf";
    for (int i = 0; i < 2; ++i) {
        const std::unique_ptr<AtomicFile> file = create(longest, Existing::KeepBoth);
        ASSERT_TRUE(file && file->commit());
    }
    EXPECT_TRUE(fs::exists(path(std::string(247, 'n') + " (1).pdf")));
}

TEST_P(AtomicFileTest, permissionsAreThoseOfAnOrdinaryNewFile)
{
    const mode_t previous = ::umask(027);
    const std::unique_ptr<AtomicFile> file = create("a");
    ASSERT_TRUE(file && file->commit());
    ::umask(previous);
    struct stat status = {};
    ASSERT_EQ(::stat(path("a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST_P(AtomicFileTest, namesAreBytes)
{
    for (const std::string &name :
         {std::string("with space"), std::string("quote'\"s"), std::string("new\nline"),
          std::string("\xFF\xFE not text"), std::string("-rf"), std::string("$(x)"),
          std::string(255, 'n')}) {
        const std::unique_ptr<AtomicFile> file = create(name);
        ASSERT_TRUE(file && file->write(std::string("x")) && file->commit()) << name;
        EXPECT_EQ(support::readFile(path(name)), "x");
    }
}

TEST_P(AtomicFileTest, impossiblePlacesAreErrors)
{
    const auto code = [&](const std::string &where) {
        Result<std::unique_ptr<AtomicFile>> file =
            AtomicFile::create(where, Existing::Replace, GetParam());
        return file ? file.value()->commit().code() : file.code();
    };
    EXPECT_EQ(code(path("none/a.pdf")), -ENOENT);
    EXPECT_EQ(code(""), -EISDIR);
    EXPECT_EQ(code(path("")), -EISDIR);
    pictures::writeBytes(path("file"), Bytes(1));
    EXPECT_EQ(code(path("file/a.pdf")), -ENOTDIR);
    fs::create_directory(path("folder"));
    EXPECT_EQ(code(path("folder")), -EISDIR);
    EXPECT_EQ(code(path(std::string(256, 'n'))), -ENAMETOOLONG);
    EXPECT_EQ(entries(), 2);
}

TEST(WriteFileAtomically, writesAndReplaces)
{
    const support::TempHome home;
    const std::string path = (home.scratch() / "a").string();
    ASSERT_TRUE(writeFileAtomically(path, Bytes(5, 1), Existing::Replace));
    ASSERT_TRUE(writeFileAtomically(path, Bytes(3, 2), Existing::Replace));
    EXPECT_EQ(pictures::readBytes(path), Bytes(3, 2));
    EXPECT_EQ(
        writeFileAtomically((home.scratch() / "x/y").string(), Bytes(1), Existing::Replace).code(),
        -ENOENT);
    EXPECT_EQ(entriesIn(home.scratch()), 1);
}
