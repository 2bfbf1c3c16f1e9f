#include "tests/app/window/windowfixture.h"
#include "tests/app/window/windowtools.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QSettings>

#include <filesystem>
#include <fstream>

class ImportTest : public WindowTest
{
protected:
    ImportTest()
        : m_folder(useSaveFolder())
    {
        m_window->EnableWidgets(true, true);
        // the chooser remembers its own state, in the home directory of the first test otherwise
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                           QString::fromStdString((m_home.home() / ".config").string()));
    }

    /// Runs the import; the chooser that opens is answered with `file`, or cancelled.
    void import(const std::filesystem::path &file)
    {
        ModalDriver driver([&](QWidget &widget) {
            auto *chooser = qobject_cast<QFileDialog *>(&widget);
            ASSERT_TRUE(chooser);
            m_title = chooser->windowTitle();
            m_filters = chooser->nameFilters();
            EXPECT_EQ(chooser->parentWidget(), m_window.get());
            EXPECT_EQ(chooser->acceptMode(), QFileDialog::AcceptOpen);
            EXPECT_EQ(chooser->fileMode(), QFileDialog::ExistingFile);
            if (file.empty()) {
                chooser->reject();
                return;
            }
            // Typed as a user types a path: a file that is selected counts only once the chooser's
            // own thread has read the folder, and not at all while its line has the focus.
            auto *line = chooser->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
            ASSERT_TRUE(line);
            line->setText(QString::fromStdString(file.string()));
            QMetaObject::invokeMethod(chooser, "accept");
        });
        m_window->ImportFile_EchoPopupMenu();
        EXPECT_TRUE(driver.seen());
    }

    std::string working(const std::string &key) const
    {
        return m_folder + "/.vexalinplixo-preview-" + key + ".jpg";
    }

    std::string m_folder;
    QString m_title;
    QStringList m_filters;
};

TEST_F(ImportTest, chosenFileIsCopiedByteForByte)
{
    const std::string content =
        "\xff\xd8 not much of a picture" + std::string(3, '\0') + "\r\n\x01";
    const std::filesystem::path source = m_home.write("照片.jpg", content);
    import(source);
    EXPECT_EQ(m_title, QStringLiteral("导入一个jpg格式图像"));
    EXPECT_EQ(m_filters,
              QStringList({QStringLiteral("Image Files(*.jpg)"), QStringLiteral("All(*.*)")}));
    EXPECT_EQ(support::readFile(working("0001")), content);
    EXPECT_EQ(support::readFile(source), content) << "the file itself stays";
    EXPECT_EQ(itemTexts(*m_window->ui->imgshowwidgt), QStringList(QStringLiteral("0001")));
    EXPECT_EQ(m_window->IsExit_thumlist(QStringLiteral("0001")).toStdString(), working("0001"));
    EXPECT_EQ(traces(), "");
}

TEST_F(ImportTest, sameFileTwiceGivesTwoWorkingFiles)
{
    const std::filesystem::path source = m_home.write("a.jpg", "picture");
    import(source);
    import(source);
    EXPECT_EQ(itemTexts(*m_window->ui->imgshowwidgt),
              QStringList({QStringLiteral("0001"), QStringLiteral("0002")}));
    EXPECT_EQ(support::readFile(working("0001")), "picture");
    EXPECT_EQ(support::readFile(working("0002")), "picture");
}

TEST_F(ImportTest, cancelledChooserChangesNothing)
{
    import({});
    EXPECT_EQ(m_window->m_fileArgv.thumkey, 1);
    EXPECT_EQ(m_window->ui->imgshowwidgt->count(), 0);
}

TEST_F(ImportTest, existingTargetIsListedAsItIs)
{
    std::ofstream(working("0001")) << "older";
    import(m_home.write("a.jpg", "picture"));
    EXPECT_EQ(support::readFile(working("0001")), "older");
    EXPECT_EQ(itemTexts(*m_window->ui->imgshowwidgt), QStringList(QStringLiteral("0001")));
    EXPECT_EQ(m_window->m_fileArgv.thumlist.size(), 1U);
}

TEST_F(ImportTest, failedCopyLosesTheKey)
{
    m_window->m_fileArgv.path = QStringLiteral("/nonexistent");
    import(m_home.write("a.jpg", "picture"));
    EXPECT_EQ(m_window->ui->imgshowwidgt->count(), 0);
    EXPECT_TRUE(m_window->m_fileArgv.thumlist.empty());
    EXPECT_EQ(m_window->m_fileArgv.thumkey, 2);
}

TEST_F(ImportTest, importedCopyIsDeletedWithItsThumbnail)
{
    import(m_home.write("a.jpg", "picture"));
    m_window->Delete_thumlist(QStringLiteral("0001"));
    EXPECT_FALSE(std::filesystem::exists(working("0001")));
}
