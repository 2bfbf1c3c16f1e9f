#include "tests/app/window/windowfixture.h"
#include "tests/app/window/windowtools.h"

#include <filesystem>
#include <fstream>
#include <thread>

class CaptureTest : public WindowTest
{
protected:
    CaptureTest()
    {
        openOneCamera();
        m_folder = useSaveFolder();
        const QByteArray picture = jpeg({32, 24});
        fake_set_photograph(picture.constData(), picture.size());
    }

    std::string file(const std::string &key) const
    {
        return m_folder + "/.vexalinplixo-preview-" + key + ".jpg";
    }

    std::string optionCalls(int crop, int rotation, int colour) const
    {
        return "SetImageJPGQuality(" + std::to_string(m_window->m_fileArgv.quality)
            + ")\nSetAutoCrop(" + std::to_string(crop) + ")\nSetImageRotateMode("
            + std::to_string(rotation) + ")\nSetImageColorStyle(" + std::to_string(colour) + ")\n";
    }

    QListWidget &list() const { return *m_window->ui->imgshowwidgt; }
    std::size_t entries() const { return m_window->m_fileArgv.thumlist.size(); }

    std::string m_folder;
};

TEST_F(CaptureTest, frameGoesIntoAWorkingFileAndTheList)
{
    QByteArray frame = jpeg({64, 48});
    fake_emit_frame_on_thread(frame.data(), frame.size(), 64, 48);
    traces();
    m_window->m_fileArgv.quality = 70;
    m_window->ui->cropstylecomb->setCurrentIndex(1);
    m_window->ui->rotatestylecomb->setCurrentIndex(3);
    m_window->ui->colormodecomb->setCurrentIndex(2);
    m_window->onslot_setbtn_takephoto();
    EXPECT_EQ(traces(), "[onslot_setbtn_takephoto][436] file:" + file("0001") + "\n");
    EXPECT_EQ(calls(), optionCalls(0, 3, 2) + "SaveVideoData(data,64,48,0," + file("0001") + ")\n");
    ASSERT_EQ(entries(), 1U);
    const _tag_unit_Thum_file_unit &entry = m_window->m_fileArgv.thumlist.front();
    EXPECT_EQ(entry.number, 1);
    EXPECT_EQ(entry.key, QStringLiteral("0001"));
    EXPECT_EQ(entry.filePath.toStdString(), file("0001"));
    EXPECT_EQ(itemTexts(list()), QStringList(QStringLiteral("0001")));
    EXPECT_FALSE(list().item(0)->icon().isNull());
    EXPECT_EQ(m_window->m_fileArgv.thumkey, 2);
}

TEST_F(CaptureTest, optionsDefaultToTheFirstEntries)
{
    m_window->onslot_setbtn_takephoto();
    EXPECT_EQ(calls(), optionCalls(-1, 0, 0) + "SaveVideoData(null,0,0,0," + file("0001") + ")\n");
}

TEST_F(CaptureTest, resultsOfTheOptionCallsAreNotExamined)
{
    for (const char *name :
         {"SetImageJPGQuality", "SetAutoCrop", "SetImageRotateMode", "SetImageColorStyle"})
        fake_set_result(name, -22);
    m_window->onslot_setbtn_takephoto();
    EXPECT_EQ(entries(), 1U);
}

TEST_F(CaptureTest, controlsAreDisabledMeanwhile)
{
    std::string states;
    const CallWatch watch([&](const std::string &, const std::string &) {
        const Ui_MainWindow &ui = *m_window->ui;
        const bool any = ui.devlistcomb->isEnabled() || ui.photoBtn->isEnabled()
            || ui.saveBtn->isEnabled() || ui.imgshowwidgt->isEnabled();
        states += any ? "enabled " : "disabled ";
    });
    m_window->onslot_setbtn_takephoto();
    EXPECT_EQ(states, "disabled disabled disabled disabled disabled ");
    EXPECT_TRUE(m_window->ui->devlistcomb->isEnabled());
    EXPECT_TRUE(m_window->ui->photoBtn->isEnabled());
    EXPECT_TRUE(m_window->ui->imgshowwidgt->isEnabled());
}

TEST_F(CaptureTest, frameLockIsHeldWhileTheLibraryWrites)
{
    std::atomic<bool> entered{false};
    std::thread other;
    bool enteredBefore = false;
    bool enteredDuring = false;
    const CallWatch watch([&](const std::string &name, const std::string &) {
        if (name == "SetImageColorStyle") {
            // not yet taken: another thread gets it at once
            std::thread([&] {
                const FrameBuffer::Access frame{m_window->m_frame};
                enteredBefore = true;
            }).join();
        }
        if (name != "SaveVideoData")
            return;
        other = std::thread([&] {
            const FrameBuffer::Access frame{m_window->m_frame};
            entered = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        enteredDuring = entered;
    });
    m_window->onslot_setbtn_takephoto();
    ASSERT_TRUE(other.joinable());
    other.join();
    EXPECT_TRUE(enteredBefore);
    EXPECT_FALSE(enteredDuring);
    EXPECT_TRUE(entered) << "released afterwards";
}

TEST_F(CaptureTest, failedPhotographLeavesAGap)
{
    fake_queue_result("SaveVideoData", -5);
    m_window->onslot_setbtn_takephoto();
    EXPECT_EQ(entries(), 0U);
    EXPECT_EQ(list().count(), 0);
    EXPECT_TRUE(m_window->ui->photoBtn->isEnabled());
    m_window->onslot_setbtn_takephoto();
    EXPECT_EQ(itemTexts(list()), QStringList(QStringLiteral("0002")));
    EXPECT_FALSE(std::filesystem::exists(file("0001")));
    EXPECT_TRUE(std::filesystem::exists(file("0002")));
}

TEST_F(CaptureTest, staleFileIsTakenForThePhotograph)
{
    std::ofstream(file("0001")) << "stale";
    fake_set_result("SaveVideoData", -5);
    m_window->onslot_setbtn_takephoto();
    ASSERT_EQ(entries(), 1U);
    EXPECT_EQ(support::readFile(file("0001")), "stale");
    EXPECT_EQ(list().count(), 1);
}

TEST_F(CaptureTest, resultOfTheSavingIsNotExaminedEither)
{
    const CallWatch watch([&](const std::string &name, const std::string &path) {
        if (name == "SaveVideoData")
            std::ofstream(path) << "written all the same";
    });
    fake_set_result("SaveVideoData", -1);
    m_window->onslot_setbtn_takephoto();
    EXPECT_EQ(entries(), 1U);
}

TEST_F(CaptureTest, numbersOverFourDigitsArePrintedInFull)
{
    m_window->m_fileArgv.thumkey = 9999;
    m_window->onslot_setbtn_takephoto();
    m_window->onslot_setbtn_takephoto();
    EXPECT_EQ(itemTexts(list()), QStringList({QStringLiteral("9999"), QStringLiteral("10000")}));
    EXPECT_TRUE(std::filesystem::exists(file("10000")));
    EXPECT_EQ(m_window->m_fileArgv.thumlist.back().number, 10000);
}

TEST_F(CaptureTest, saveFolderIsTakenAsItStands)
{
    m_window->m_fileArgv.path = QString::fromStdString(m_folder + "/");
    m_window->onslot_setbtn_takephoto();
    EXPECT_EQ(traces(),
              "[onslot_setbtn_takephoto][436] file:" + m_folder
                  + "//.vexalinplixo-preview-0001.jpg\n");
    EXPECT_TRUE(std::filesystem::exists(file("0001")));
}

TEST_F(CaptureTest, markersInTheFolderNameAreNoPattern)
{
    m_folder += "/%1%2 照片";
    std::filesystem::create_directory(m_folder);
    m_window->m_fileArgv.path = QString::fromStdString(m_folder);
    m_window->onslot_setbtn_takephoto();
    EXPECT_EQ(traces(), "[onslot_setbtn_takephoto][436] file:" + file("0001") + "\n");
    EXPECT_TRUE(std::filesystem::exists(file("0001")));
}

TEST_F(CaptureTest, numbersStartAgainOnlyWhenTheListIsEmptied)
{
    m_window->onslot_setbtn_takephoto();
    m_window->onslot_setbtn_takephoto();
    m_window->Delete_thumlist(QStringLiteral("0001"));
    m_window->Delete_thumlist(QStringLiteral("0002"));
    m_window->onslot_setbtn_takephoto();
    EXPECT_EQ(m_window->m_fileArgv.thumlist.front().key, QStringLiteral("0003"));
    m_window->Empty_thumlist();
    m_window->onslot_setbtn_takephoto();
    EXPECT_EQ(m_window->m_fileArgv.thumlist.front().key, QStringLiteral("0001"));
}
