#include "tests/app/window/windowfixture.h"
#include "tests/app/window/windowtools.h"

#include <QImage>

#include <filesystem>
#include <fstream>

class ThumbnailsTest : public WindowTest
{
protected:
    ThumbnailsTest()
        : m_folder(useSaveFolder())
    {
    }

    QString file(const std::string &name, const std::string &content = "x") const
    {
        std::ofstream(m_folder + "/" + name, std::ios::binary) << content;
        return QString::fromStdString(m_folder + "/" + name);
    }

    bool exists(const std::string &name) const
    {
        return std::filesystem::exists(m_folder + "/" + name);
    }

    /// "key:number:file name" of every entry.
    std::string entries() const
    {
        std::string text;
        for (const _tag_unit_Thum_file_unit &entry : m_window->m_fileArgv.thumlist)
            text += entry.key.toStdString() + ":" + std::to_string(entry.number) + ":"
                + std::filesystem::path(entry.filePath.toStdString()).filename().string() + " ";
        return text;
    }

    static QString text(const char *latin1) { return QString::fromLatin1(latin1); }

    std::string m_folder;
};

TEST_F(ThumbnailsTest, keysCountUp)
{
    EXPECT_EQ(m_window->key_thumlist(), text("0001"));
    EXPECT_EQ(m_window->key_thumlist(), text("0002"));
    EXPECT_EQ(m_window->m_fileArgv.thumkey, 3);
    m_window->m_fileArgv.thumkey = 12345;
    EXPECT_EQ(m_window->key_thumlist(), text("12345"));
}

TEST_F(ThumbnailsTest, appendedEntriesKeepTheirOrder)
{
    m_window->Append_thumlist(text("0002"), file("b"));
    m_window->Append_thumlist(text("0001"), file("a"));
    m_window->Append_thumlist(text("other"), file("c"));
    EXPECT_EQ(entries(), "0002:2:b 0001:1:a other:0:c ");
}

TEST_F(ThumbnailsTest, insertionStandsBeforeEveryEqualKey)
{
    m_window->Append_thumlist(text("0001"), file("a"));
    m_window->Append_thumlist(text("0002"), file("b"));
    m_window->Append_thumlist(text("0001"), file("c"));
    m_window->Insert_thumlist(text("0001"), file("n"));
    EXPECT_EQ(entries(), "0001:1:n 0001:1:a 0002:2:b 0001:1:n 0001:1:c ");
    m_window->Insert_thumlist(text("0009"), file("m"));
    EXPECT_EQ(m_window->m_fileArgv.thumlist.size(), 5U);
    m_window->m_fileArgv.thumlist.clear();
    m_window->Insert_thumlist(text("0001"), file("n"));
    EXPECT_EQ(entries(), "");
}

TEST_F(ThumbnailsTest, deletionTakesTheFirstEntryAndItsFile)
{
    m_window->Append_thumlist(text("0001"), file("a"));
    m_window->Append_thumlist(text("0001"), file("b"));
    m_window->Delete_thumlist(text("0001"));
    EXPECT_EQ(entries(), "0001:1:b ");
    EXPECT_FALSE(exists("a"));
    EXPECT_TRUE(exists("b"));
    EXPECT_EQ(m_window->m_fileArgv.thumkey, 1);
}

TEST_F(ThumbnailsTest, unknownKeyDeletesNothing)
{
    m_window->Append_thumlist(text("0001"), file("a"));
    for (const char *key : {"0002", "1", "", "0001 "})
        m_window->Delete_thumlist(text(key));
    EXPECT_EQ(entries(), "0001:1:a ");
    EXPECT_TRUE(exists("a"));
}

TEST_F(ThumbnailsTest, entryOfAVanishedFileIsDeletedToo)
{
    m_window->Append_thumlist(text("0001"), text("/nonexistent/a.jpg"));
    m_window->Delete_thumlist(text("0001"));
    EXPECT_EQ(entries(), "");
}

TEST_F(ThumbnailsTest, positionsOutsideTheListGiveNothing)
{
    EXPECT_EQ(m_window->Eject_thumlist(0), QString());
    const QString a = file("a");
    const QString b = file("b");
    m_window->Append_thumlist(text("0001"), a);
    m_window->Append_thumlist(text("0002"), b);
    EXPECT_EQ(m_window->Eject_thumlist(-1), QString());
    EXPECT_EQ(m_window->Eject_thumlist(0), a);
    EXPECT_EQ(m_window->Eject_thumlist(1), b);
    EXPECT_EQ(m_window->Eject_thumlist(2), QString());
    EXPECT_EQ(m_window->m_fileArgv.thumlist.size(), 2U) << "nothing is taken out";
}

TEST_F(ThumbnailsTest, lookUpTakesTheFirstOfEqualKeys)
{
    const QString a = file("a");
    m_window->Append_thumlist(text("0001"), a);
    m_window->Append_thumlist(text("0001"), file("b"));
    EXPECT_EQ(m_window->IsExit_thumlist(text("0001")), a);
    EXPECT_EQ(m_window->IsExit_thumlist(text("0003")), QString());
    EXPECT_EQ(m_window->IsExit_thumlist(QString()), QString());
}

TEST_F(ThumbnailsTest, emptyingDeletesEveryFileAndStartsNumbersAgain)
{
    m_window->Append_thumlist(m_window->key_thumlist(), file("a"));
    m_window->Append_thumlist(m_window->key_thumlist(), text("/nonexistent/x"));
    m_window->Append_thumlist(m_window->key_thumlist(), file("b"));
    m_window->addItem_imglistwidget(text("0001"), file("a"));
    m_window->m_fileArgv.fileno = 8;
    m_window->Empty_thumlist();
    EXPECT_EQ(entries(), "");
    EXPECT_FALSE(exists("a"));
    EXPECT_FALSE(exists("b"));
    EXPECT_EQ(m_window->m_fileArgv.thumkey, 1);
    EXPECT_EQ(m_window->m_fileArgv.fileno, 8);
    EXPECT_EQ(m_window->ui->imgshowwidgt->count(), 1) << "the widget is the caller's";
}

TEST_F(ThumbnailsTest, thumbnailsAreStretchedToASquare)
{
    const QByteArray wide = jpeg({400, 100});
    m_window->addItem_imglistwidget(text("0001"), file("wide.jpg", wide.toStdString()));
    const QListWidgetItem &item = *m_window->ui->imgshowwidgt->item(0);
    EXPECT_EQ(item.text(), text("0001"));
    ASSERT_EQ(item.icon().availableSizes(), QList<QSize>{QSize(100, 100)});
    const QImage icon = item.icon().pixmap(100, 100).toImage();
    for (const QPoint &corner : {QPoint(0, 0), QPoint(99, 0), QPoint(0, 99), QPoint(99, 99)})
        EXPECT_NEAR(qBlue(icon.pixel(corner)), 0xcc, 8);
}

TEST_F(ThumbnailsTest, undecodableFileGetsAnItemWithoutAnIcon)
{
    m_window->addItem_imglistwidget(text("0001"), file("broken.jpg", "no picture"));
    m_window->addItem_imglistwidget(text("0002"), text("/nonexistent/x.jpg"));
    const QListWidget &list = *m_window->ui->imgshowwidgt;
    EXPECT_EQ(itemTexts(list), QStringList({text("0001"), text("0002")}));
    EXPECT_TRUE(list.item(0)->icon().isNull());
    EXPECT_TRUE(list.item(1)->icon().isNull());
}

TEST_F(ThumbnailsTest, formatIsGuessedFromTheContents)
{
    QImage picture(10, 10, QImage::Format_RGB32);
    picture.fill(Qt::green);
    const QString path = QString::fromStdString(m_folder + "/really-a-png.jpg");
    ASSERT_TRUE(picture.save(path, "PNG"));
    m_window->addItem_imglistwidget(text("0001"), path);
    EXPECT_FALSE(m_window->ui->imgshowwidgt->item(0)->icon().isNull());
}

TEST_F(ThumbnailsTest, newestItemIsCurrentAndNotSelected)
{
    QListWidget &list = *m_window->ui->imgshowwidgt;
    m_window->addItem_imglistwidget(text("0001"), file("a"));
    m_window->addItem_imglistwidget(text("0002"), file("b"));
    EXPECT_EQ(list.currentRow(), 1);
    EXPECT_TRUE(list.selectedItems().isEmpty());
    list.item(0)->setSelected(true);
    m_window->addItem_imglistwidget(text("0003"), file("c"));
    EXPECT_EQ(list.currentRow(), 2);
    ASSERT_EQ(list.selectedItems().size(), 1);
    EXPECT_EQ(list.selectedItems().front()->text(), text("0001"));
}
