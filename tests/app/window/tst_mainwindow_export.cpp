#include "tests/app/window/windowfixture.h"
#include "tests/app/window/windowtools.h"

#include <filesystem>

class ExportTest : public WindowTest
{
protected:
    ExportTest()
    {
        openOneCamera();
        m_folder = useSaveFolder();
    }

    void photograph(int count)
    {
        for (int i = 0; i < count; ++i)
            m_window->onslot_setbtn_takephoto();
        traces();
        calls();
    }

    void choose(const char *format, bool multiPage = false)
    {
        m_window->ui->filemodecomb->setCurrentText(QString::fromLatin1(format));
        ASSERT_EQ(m_window->ui->filemodecomb->currentText(), QString::fromLatin1(format));
        // the rule of the check box would refuse some of what is tried here
        const QSignalBlocker noRule(m_window->ui->multPageCB);
        m_window->ui->multPageCB->setChecked(multiPage);
    }

    std::string working(const std::string &key) const
    {
        return m_folder + "/.vexalinplixo-preview-" + key + ".jpg";
    }
    std::string output(const std::string &name) const { return m_folder + "/" + name; }
    bool exists(const std::string &path) const { return std::filesystem::exists(path); }

    static std::string line(int number, const std::string &text)
    {
        return "[onslot_savebtn_createfile][" + std::to_string(number) + "] " + text + "\n";
    }
    static std::string converted(const std::string &file, int result = 0)
    {
        return line(384, "file:" + file)
            + line(385,
                   "((CCameraSDK*)m_KorvCamera)->ConvertImagetoImage " + std::to_string(result));
    }
    static std::string added(const std::string &file, int result = 0)
    {
        return line(358, "file:" + file)
            + line(359,
                   "((CCameraSDK*)m_KorvCamera)->AddImageFiletoMultiFile "
                       + std::to_string(result));
    }
    static std::string combined(const std::string &file, int result = 0)
    {
        return line(368, "file:" + file)
            + line(369, "((CCameraSDK*)m_KorvCamera)->CombineMultiFile " + std::to_string(result));
    }

    QListWidget &list() const { return *m_window->ui->imgshowwidgt; }
    bool isEmpty() const { return m_window->m_fileArgv.thumlist.empty() && list().count() == 0; }

    std::string m_folder;
};

TEST_F(ExportTest, photographsBecomeSingleFiles)
{
    photograph(2);
    choose("jpg");
    m_window->m_fileArgv.quality = 50;
    m_window->onslot_savebtn_createfile();
    EXPECT_EQ(traces(), converted(output("0001.jpg")) + converted(output("0002.jpg")));
    EXPECT_EQ(calls(),
              "SetImageJPGQuality(50)\n"
              "ConvertImagetoImage("
                  + working("0001") + "," + output("0001.jpg")
                  + ")\n"
                    "ConvertImagetoImage("
                  + working("0002") + "," + output("0002.jpg") + ")\n");
    EXPECT_TRUE(exists(output("0001.jpg")));
    EXPECT_TRUE(exists(output("0002.jpg")));
    EXPECT_FALSE(exists(working("0001")));
    EXPECT_FALSE(exists(working("0002")));
    EXPECT_TRUE(isEmpty());
    EXPECT_EQ(m_window->m_fileArgv.thumkey, 1);
    EXPECT_EQ(m_window->m_fileArgv.fileno, 3);
}

TEST_F(ExportTest, photographsBecomeOneDocument)
{
    photograph(2);
    choose("pdf", true);
    m_window->onslot_savebtn_createfile();
    EXPECT_EQ(traces(),
              added(working("0001")) + added(working("0002")) + combined(output("0001.pdf")));
    EXPECT_EQ(calls(),
              "SetImageJPGQuality(95)\n"
              "AddImageFiletoMultiFile("
                  + working("0001")
                  + ")\n"
                    "AddImageFiletoMultiFile("
                  + working("0002")
                  + ")\n"
                    "CombineMultiFile("
                  + output("0001.pdf") + ")\n");
    EXPECT_TRUE(isEmpty());
    EXPECT_FALSE(exists(working("0001")));
    EXPECT_EQ(m_window->m_fileArgv.fileno, 2);
}

TEST_F(ExportTest, formatsDecideWhetherTheSwitchCounts)
{
    const struct
    {
        const char *format;
        bool combines;
    } rows[] = {{"jpg", false},
                {"bmp", false},
                {"pdf", true},
                {"ofd", true},
                {"png", false},
                // disabling the controls takes its switch back before the switch is read
                {"tiff", false}};
    for (const auto &row : rows) {
        for (const bool multiPage : {false, true}) {
            SCOPED_TRACE(std::string(row.format) + (multiPage ? " multi-page" : ""));
            photograph(1);
            choose(row.format, multiPage);
            m_window->onslot_savebtn_createfile(0);
            const std::string seen = calls();
            const bool combines = row.combines && multiPage;
            EXPECT_EQ(seen.find("CombineMultiFile(") != std::string::npos, combines);
            EXPECT_EQ(seen.find("ConvertImagetoImage(") != std::string::npos, !combines);
            EXPECT_TRUE(isEmpty());
        }
    }
}

TEST_F(ExportTest, numbersRunOnAcrossFormatsAndRuns)
{
    photograph(3);
    choose("jpg");
    m_window->onslot_savebtn_createfile(0);
    photograph(1);
    choose("pdf", true);
    m_window->onslot_savebtn_createfile(0);
    photograph(1);
    choose("png");
    m_window->onslot_savebtn_createfile(0);
    for (const char *name : {"0001.jpg", "0002.jpg", "0003.jpg", "0004.pdf", "0005.png"})
        EXPECT_TRUE(exists(output(name))) << name;
    EXPECT_EQ(m_window->m_fileArgv.fileno, 6);
}

TEST_F(ExportTest, numbersOverFourDigitsArePrintedInFull)
{
    photograph(1);
    m_window->m_fileArgv.fileno = 10000;
    choose("bmp");
    m_window->onslot_savebtn_createfile(0);
    EXPECT_TRUE(exists(output("10000.bmp")));
}

TEST_F(ExportTest, emptyDocumentIsStillCombinedOnce)
{
    choose("ofd", true);
    m_window->onslot_savebtn_createfile(0);
    EXPECT_EQ(traces(), combined(output("0001.ofd")));
    EXPECT_EQ(calls(),
              "SetImageJPGQuality(95)\n"
              "CombineMultiFile("
                  + output("0001.ofd") + ")\n");
    EXPECT_EQ(m_window->m_fileArgv.fileno, 2);
}

TEST_F(ExportTest, emptyListWritesNoSingleFile)
{
    choose("png");
    m_window->onslot_savebtn_createfile(0);
    EXPECT_EQ(traces(), "");
    EXPECT_EQ(calls(), "SetImageJPGQuality(95)\n");
    EXPECT_EQ(m_window->m_fileArgv.fileno, 1);
}

TEST_F(ExportTest, vanishedWorkingFileUsesNoNumber)
{
    photograph(3);
    std::filesystem::remove(working("0002"));
    choose("jpg");
    m_window->onslot_savebtn_createfile(0);
    EXPECT_EQ(traces(), converted(output("0001.jpg")) + converted(output("0002.jpg")));
    EXPECT_TRUE(isEmpty());
}

TEST_F(ExportTest, vanishedWorkingFileIsNoPage)
{
    photograph(2);
    std::filesystem::remove(working("0001"));
    choose("pdf", true);
    m_window->onslot_savebtn_createfile(0);
    EXPECT_EQ(traces(), added(working("0002")) + combined(output("0001.pdf")));
}

TEST_F(ExportTest, failedExportLosesThePhotographs)
{
    photograph(2);
    choose("jpg");
    fake_set_result("ConvertImagetoImage", -5);
    m_window->onslot_savebtn_createfile(0);
    EXPECT_EQ(traces(), converted(output("0001.jpg"), -5) + converted(output("0002.jpg"), -5));
    EXPECT_TRUE(isEmpty());
    EXPECT_FALSE(exists(working("0001")));

    photograph(2);
    choose("pdf", true);
    fake_queue_result("AddImageFiletoMultiFile", -6);
    fake_set_result("CombineMultiFile", -7);
    m_window->onslot_savebtn_createfile(0);
    EXPECT_EQ(traces(),
              added(working("0001"), -6) + added(working("0002"))
                  + combined(output("0003.pdf"), -7));
    EXPECT_TRUE(isEmpty());
    EXPECT_FALSE(exists(working("0002")));
}

TEST_F(ExportTest, unknownFormatWritesNothingAndKeepsTheList)
{
    photograph(1);
    for (const char *format : {"JPG", "tif", "gif", ""}) {
        SCOPED_TRACE(format);
        m_window->ui->filemodecomb->addItem(QString::fromLatin1(format));
        m_window->ui->filemodecomb->setCurrentIndex(m_window->ui->filemodecomb->count() - 1);
        m_window->onslot_savebtn_createfile(0);
        EXPECT_EQ(traces(), line(321, "file format unsurpport"));
        EXPECT_EQ(calls(), "");
        EXPECT_TRUE(m_window->ui->saveBtn->isEnabled());
        EXPECT_TRUE(m_window->ui->devlistcomb->isEnabled());
    }
    EXPECT_EQ(list().count(), 1);
    EXPECT_TRUE(exists(working("0001")));
    EXPECT_EQ(m_window->m_fileArgv.fileno, 1);
}

TEST_F(ExportTest, controlsAreDisabledMeanwhile)
{
    photograph(1);
    choose("jpg");
    std::string states;
    const CallWatch watch([&](const std::string &, const std::string &) {
        const Ui_MainWindow &ui = *m_window->ui;
        states += ui.devlistcomb->isEnabled() || ui.saveBtn->isEnabled() ? "enabled " : "disabled ";
    });
    m_window->onslot_savebtn_createfile(0);
    EXPECT_EQ(states, "disabled disabled ");
    EXPECT_TRUE(m_window->ui->devlistcomb->isEnabled());
    EXPECT_TRUE(m_window->ui->saveBtn->isEnabled());
}

TEST_F(ExportTest, selectionIsExportedInItsOwnOrder)
{
    photograph(4);
    choose("jpg");
    for (const int row : {3, 0, 1})
        list().item(row)->setSelected(true);
    QStringList order;
    for (const QListWidgetItem *item : list().selectedItems())
        order.append(item->text());
    ASSERT_EQ(order.size(), 3);
    m_window->onslot_savebtn_createfile(1);
    std::string expected = "SetImageJPGQuality(95)\n";
    for (int i = 0; i < order.size(); ++i)
        expected += "ConvertImagetoImage(" + working(order[i].toStdString()) + ","
            + output("000" + std::to_string(i + 1) + ".jpg") + ")\n";
    EXPECT_EQ(calls(), expected);
    EXPECT_EQ(itemTexts(list()), QStringList(QStringLiteral("0003")));
    ASSERT_EQ(m_window->m_fileArgv.thumlist.size(), 1U);
    EXPECT_EQ(m_window->m_fileArgv.thumlist.front().key, QStringLiteral("0003"));
    EXPECT_TRUE(exists(working("0003")));
    EXPECT_FALSE(exists(working("0001")));
    EXPECT_EQ(m_window->m_fileArgv.thumkey, 5) << "the list was not emptied";
}

TEST_F(ExportTest, selectionBecomesOneDocument)
{
    photograph(3);
    choose("ofd", true);
    list().item(1)->setSelected(true);
    m_window->onslot_savebtn_createfile(1);
    EXPECT_EQ(traces(), added(working("0002")) + combined(output("0001.ofd")));
    EXPECT_EQ(list().count(), 2);
}

TEST_F(ExportTest, emptySelectionRemovesNothing)
{
    photograph(2);
    choose("jpg");
    m_window->onslot_savebtn_createfile(1);
    EXPECT_EQ(traces(), "");
    EXPECT_EQ(calls(), "SetImageJPGQuality(95)\n");
    EXPECT_EQ(list().count(), 2);
    choose("pdf", true);
    m_window->onslot_savebtn_createfile(1);
    EXPECT_EQ(traces(), combined(output("0001.pdf")));
    EXPECT_EQ(list().count(), 2);
}

TEST_F(ExportTest, selectedItemWithoutAnEntryIsNotExportedButLeaves)
{
    photograph(1);
    choose("jpg");
    list().addItem(QStringLiteral("0099"));
    list().selectAll();
    m_window->onslot_savebtn_createfile(1);
    EXPECT_EQ(traces(), converted(output("0001.jpg")));
    EXPECT_EQ(list().count(), 0);
}

TEST_F(ExportTest, folderIsTakenAsItStandsAtTheStart)
{
    photograph(2);
    choose("jpg");
    m_window->m_fileArgv.path = QString::fromStdString(m_folder + "/");
    const CallWatch watch([&](const std::string &, const std::string &) {
        m_window->m_fileArgv.path = QStringLiteral("/elsewhere");
    });
    m_window->onslot_savebtn_createfile(0);
    EXPECT_EQ(traces(), converted(m_folder + "//0001.jpg") + converted(m_folder + "//0002.jpg"));
}

TEST_F(ExportTest, nextPhotographStartsAtOneAgain)
{
    photograph(2);
    choose("jpg");
    m_window->onslot_savebtn_createfile(0);
    photograph(1);
    EXPECT_EQ(itemTexts(list()), QStringList(QStringLiteral("0001")));
}
