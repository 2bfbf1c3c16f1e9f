#include "library/recognition/text_recogniser.h"

#include "library/base/unique_fd.h"
#include "library/jpeg/jpeg.h"
#include "tests/library/support/fake_tesseract.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/surroundings.h"

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <thread>

using namespace korv;
using namespace std::chrono_literals;

namespace {

class TextRecogniserTest : public testing::Test
{
protected:
    void SetUp() override
    {
        open();
        install("");
    }
    /// Waits for the file "wait" before it does what a test wants.
    void install(const std::string &commands)
    {
        m_tesseract.install("head -c 1 '" + (m_folder / "wait") + "' >/dev/null; " + commands);
    }
    /// The program waits until there is something in its file.
    void hold()
    {
        std::filesystem::remove(m_folder / "wait");
        ASSERT_EQ(::mkfifo((m_folder / "wait").c_str(), 0600), 0);
    }
    void open() const { testing_support::writeFile(m_folder / "wait", std::string("go")); }
    /// Returns once a program waits in the FIFO, which it does until what is returned is closed.
    UniqueFd held() const
    {
        UniqueFd fifo;
        while (!fifo) {
            std::this_thread::sleep_for(20ms);
            fifo = UniqueFd(::open((m_folder / "wait").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        }
        return fifo;
    }
    /// Lets programs go that wait in the FIFO.
    void release() const
    {
        std::ofstream fifo(m_folder / "wait");
        fifo << "gogogogogo";
    }

    std::shared_ptr<TextRecogniser> make()
    {
        return TextRecogniser::create({{"eng"}, m_wait, m_cache}).value();
    }
    /// Asks for the picture's text; counts how often it is made.
    Result<TextRecogniser::Text> ask(TextRecogniser &recogniser)
    {
        return recogniser.textOf(contentKeyOf(m_jpeg), [this] {
            ++m_made;
            return Result<Image>(Image(64, 48, PixelFormat::Gray8));
        });
    }

    testing_support::TemporaryFolder m_folder;
    testing_support::FakeTesseract m_tesseract;
    Bytes m_jpeg = pictures::jpegOf(pictures::page(64, 48));
    std::chrono::milliseconds m_wait = 20s;
    std::string m_cache;
    int m_made = 0;
};

double secondsSince(std::chrono::steady_clock::time_point begin)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

} // namespace

TEST_F(TextRecogniserTest, recognisesAPictureOnce)
{
    const auto recogniser = make();
    for (int i = 0; i < 2; ++i) {
        const auto text = ask(*recogniser);
        ASSERT_TRUE(text) << text.error().text;
        EXPECT_EQ(text.value()->lines.at(0).words.at(0).text, "word");
    }
    EXPECT_EQ(m_made, 1);
}

TEST_F(TextRecogniserTest, whatBeganInTheBackgroundIsNotBegunAgain)
{
    hold();
    const auto recogniser = make();
    recogniser->begin(m_jpeg);
    std::thread releaser([this] { release(); }); // opens when the program reads
    releaser.join();
    const auto text = ask(*recogniser);
    ASSERT_TRUE(text) << text.error().text;
    EXPECT_EQ(text.value()->width, 64);
    EXPECT_EQ(m_made, 0);
}

TEST_F(TextRecogniserTest, resolutionThatMeansNothingIsNotPassedOn)
{
    const std::string told = m_folder / "told";
    install("case \"$*\" in *--dpi*) touch '" + told + "';; esac"); // it may write nothing
    for (const int dpi : {72, 96, 150}) {
        Image page = pictures::page(640, 480);
        page.setResolution(dpi);
        m_jpeg = pictures::jpegOf(page);
        ASSERT_EQ(jpeg::readInfo(m_jpeg).value().resolution, dpi);
        const auto recogniser = make();
        recogniser->begin(m_jpeg);
        const auto deadline = std::chrono::steady_clock::now() + 90s * support::slowness();
        while (!recogniser->known(contentKeyOf(m_jpeg))
               && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(20ms);
        EXPECT_TRUE(recogniser->known(contentKeyOf(m_jpeg)));
        EXPECT_EQ(std::filesystem::remove(told), dpi == 150) << dpi;
    }
}

TEST_F(TextRecogniserTest, failuresAreNotTriedAgain)
{
    install("echo crash >&2; kill -SEGV $$");
    const auto recogniser = make();
    EXPECT_EQ(ask(*recogniser).code(), -EPROTO);
    EXPECT_EQ(ask(*recogniser).code(), -EPROTO);
    EXPECT_EQ(m_made, 1);
    install("head -c 100000 /dev/urandom; exit 0");
    EXPECT_EQ(ask(*make()).code(), -EBADMSG);
}

TEST_F(TextRecogniserTest, nobodyWaitsLongerThanAllowed)
{
    // enough for the program to say which languages it knows, which it does
    m_wait = 2s * support::slowness();
    const int tooLong = 10 * support::slowness();
    hold();
    const auto recogniser = make();
    auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(ask(*recogniser).code(), -ETIMEDOUT);
    EXPECT_LT(secondsSince(begin), tooLong);
    const auto inBackground = make();
    inBackground->begin(m_jpeg);
    std::this_thread::sleep_for(100ms);
    begin = std::chrono::steady_clock::now();
    EXPECT_EQ(ask(*inBackground).code(), -ETIMEDOUT);
    EXPECT_LT(secondsSince(begin), tooLong);
}

TEST_F(TextRecogniserTest, whoAsksDoesNotWaitForAStarvedProcess)
{
    m_wait = 8s;
    hold();
    const auto recogniser = make();
    recogniser->begin(m_jpeg);
    const UniqueFd starved = held();
    std::filesystem::remove(m_folder / "wait");
    open();
    const auto begin = std::chrono::steady_clock::now();
    const auto text = ask(*recogniser);
    EXPECT_TRUE(text) << text.error().text;
    EXPECT_EQ(m_made, 1);
    EXPECT_LT(secondsSince(begin), 8);
    EXPECT_TRUE(ask(*recogniser));
    EXPECT_EQ(m_made, 1);
}

TEST_F(TextRecogniserTest, whoAsksTakesTheTextThatIsThereFirst)
{
    m_wait = 8s;
    const std::string first = m_folder / "first";
    const std::string second = m_folder / "second";
    // slow, not starved: it ends once another process has begun, which would take for ever
    m_tesseract.install("if [ -e '" + first + "' ]; then /usr/bin/touch '" + second
                        + "'; exec /usr/bin/sleep 1000; fi\n/usr/bin/touch '" + first
                        + "'; while [ ! -e '" + second + "' ]; do /usr/bin/sleep 0.02; done");
    const auto recogniser = make();
    recogniser->begin(m_jpeg);
    while (!std::filesystem::exists(first))
        std::this_thread::sleep_for(20ms);
    const auto begin = std::chrono::steady_clock::now();
    const auto text = ask(*recogniser);
    EXPECT_TRUE(text) << text.error().text;
    EXPECT_LT(secondsSince(begin), 7);
    EXPECT_EQ(m_made, 1);
}

TEST_F(TextRecogniserTest, stopEndsAllAtOnce)
{
    hold();
    const auto recogniser = make();
    recogniser->begin(m_jpeg);
    std::thread asking([&] { EXPECT_EQ(ask(*recogniser).code(), -ECANCELED); });
    std::this_thread::sleep_for(300ms);
    const auto begin = std::chrono::steady_clock::now();
    recogniser->stop();
    asking.join();
    EXPECT_LT(secondsSince(begin), 5);
    EXPECT_EQ(ask(*recogniser).code(), -ECANCELED);
    recogniser->begin(m_jpeg);
}

TEST_F(TextRecogniserTest, picturesThatWaitAreTheirsWhoAsk)
{
    hold();
    const auto recogniser = make();
    std::vector<Bytes> others;
    for (int i = 1; i < 9; ++i) // more than there are threads
        others.push_back(pictures::jpegOf(pictures::page(64 + i, 48)));
    for (const Bytes &other : others)
        recogniser->begin(other);
    recogniser->begin(m_jpeg);
    std::this_thread::sleep_for(300ms);
    std::filesystem::remove(m_folder / "wait");
    open();
    EXPECT_TRUE(ask(*recogniser));
    recogniser->stop();
}

TEST_F(TextRecogniserTest, missingProgramCostsNoPicture)
{
    m_tesseract.remove();
    const auto recogniser = make();
    recogniser->begin(m_jpeg);
    EXPECT_EQ(ask(*recogniser).code(), TextRecogniser::kUnavailable);
    EXPECT_EQ(m_made, 0);
}

TEST_F(TextRecogniserTest, cacheOutlivesIt)
{
    m_cache = m_folder / "cache/text";
    EXPECT_TRUE(ask(*make()));
    install("exit 1");
    EXPECT_TRUE(ask(*make()));
    EXPECT_EQ(m_made, 1);
    for (const auto &file : std::filesystem::directory_iterator(m_cache))
        std::ofstream(file.path()) << "rubbish";
    EXPECT_EQ(ask(*make()).code(), -EPROTO) << "a broken file counts as none";
}

TEST_F(TextRecogniserTest, wordsOfAnotherPictureAreRefused)
{
    install("width=65");
    EXPECT_EQ(ask(*make()).code(), -EBADMSG);
}

TEST_F(TextRecogniserTest, oldResultsMakeRoom)
{
    const auto recogniser = make();
    install("exit 1"); // quick
    for (std::uint64_t i = 0; i < 600; ++i)
        EXPECT_FALSE(recogniser->textOf({i, i}, [] { return Result<Image>(Error{-EIO, "none"}); }));
    int made = 0;
    const auto count = [&] {
        ++made;
        return Result<Image>(Error{-EIO, "none"});
    };
    EXPECT_FALSE(recogniser->textOf({599, 599}, count));
    EXPECT_EQ(made, 0);
    EXPECT_FALSE(recogniser->textOf({0, 0}, count));
    EXPECT_EQ(made, 1);
}
