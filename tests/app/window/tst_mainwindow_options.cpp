#include "tests/app/window/windowfixture.h"
#include "tests/app/window/windowtools.h"

#include <cstdlib>
#include <cstring>

class OptionsTest : public WindowTest
{
protected:
    std::string traces()
    {
        return withoutSourceLines(WindowTest::traces(), "FreshCameraResWidget");
    }

    /// A running camera 6 with three sizes, the first in use.
    void openWithThreeSizes()
    {
        fake_set_resolution_json(R"([{"res-no":0,"res-w":2592,"res-h":1944},)"
                                 R"({"res-no":1,"res-w":1920,"res-h":1080},)"
                                 R"({"res-no":2,"res-w":640,"res-h":480}])");
        openOneCamera("Cam", 6);
    }

    static std::vector<std::pair<QString, QVariant>> entries(const QComboBox &selector)
    {
        std::vector<std::pair<QString, QVariant>> list;
        for (int i = 0; i < selector.count(); ++i)
            list.emplace_back(selector.itemText(i), selector.itemData(i));
        return list;
    }

    void fillTypes(const char *type, bool multiPage)
    {
        m_window->ParseCamFileTypeStr();
        m_window->m_fileArgv.type = QString::fromLatin1(type);
        m_window->m_fileArgv.multpage = multiPage;
        m_window->FreshCamFileTypeWidget();
    }

    const QCheckBox &box() const { return *m_window->ui->multPageCB; }
    void selectType(const char *type)
    {
        m_window->ui->filemodecomb->setCurrentText(QString::fromLatin1(type));
    }
};

TEST_F(OptionsTest, resolutionListIsReplacedInItsOrder)
{
    m_window->m_resolutions.push_back({QStringLiteral("1*1"), 9, 1, 1});
    const std::string text = R"([{"res-no":4,"res-w":2592,"res-h":1944},)"
                             R"({"res-h":480,"extra":true,"res-w":640,"res-no":2}])";
    m_window->ParseCameraResJSONStr(strdup(text.c_str()));
    EXPECT_EQ(traces(), "[func-ParseCameraResJSONStr]resjsonstr:" + text + "\n");
    const auto &list = m_window->m_resolutions;
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].name, QStringLiteral("2592*1944"));
    EXPECT_EQ(list[0].res_no, 4);
    EXPECT_EQ(list[1].name, QStringLiteral("640*480"));
    EXPECT_EQ(list[1].res_no, 2);
    EXPECT_EQ(list[1].res_w, 640);
    EXPECT_EQ(list[1].res_h, 480);
}

TEST_F(OptionsTest, textsWithoutEntriesKeepTheListAndAreNotReleased)
{
    m_window->m_resolutions.push_back({QStringLiteral("1*1"), 9, 1, 1});
    for (const char *text : {"[]", "{}", "[{", ""}) {
        SCOPED_TRACE(text);
        char *copy = strdup(text);
        m_window->ParseCameraResJSONStr(copy);
        EXPECT_EQ(traces(), "[func-ParseCameraResJSONStr]resjsonstr:" + std::string(text) + "\n");
        EXPECT_STREQ(copy, text);
        std::free(copy);
        EXPECT_EQ(m_window->m_resolutions.size(), 1U);
    }
    m_window->ParseCameraResJSONStr(nullptr);
    EXPECT_EQ(traces(), "[func-ParseCameraResJSONStr]resjsonstr:(null)\n");
    EXPECT_EQ(m_window->m_resolutions.size(), 1U);
}

TEST_F(OptionsTest, refilledSelectorShowsTheResolutionInUseWithoutACall)
{
    openWithThreeSizes();
    m_window->m_resolutionNo = 2;
    m_window->FreshCameraResWidget();
    EXPECT_EQ(traces(),
              "[FreshCameraResWidget] ENTER \n"
              "[FreshCameraResWidget][#] set current index 2\n");
    EXPECT_EQ(calls(), "");
    EXPECT_TRUE(m_window->m_resolutionSelectorReady);
    EXPECT_EQ(entries(*m_window->ui->dpilistcomb),
              (std::vector<std::pair<QString, QVariant>>{{QStringLiteral("2592*1944"), 0},
                                                         {QStringLiteral("1920*1080"), 1},
                                                         {QStringLiteral("640*480"), 2}}));
    EXPECT_EQ(m_window->ui->dpilistcomb->currentIndex(), 2);
}

TEST_F(OptionsTest, emptyListLeavesTheSelectorEmptyAndReady)
{
    openWithThreeSizes();
    m_window->m_resolutions.clear();
    m_window->FreshCameraResWidget();
    EXPECT_EQ(m_window->ui->dpilistcomb->count(), 0);
    EXPECT_TRUE(m_window->m_resolutionSelectorReady);
    EXPECT_EQ(calls(), "");
}

TEST_F(OptionsTest, chosenResolutionRestartsTheCapture)
{
    openWithThreeSizes();
    fake_set_result("GetCurResolutionNo", 1);
    m_window->ui->dpilistcomb->setCurrentIndex(1);
    EXPECT_EQ(traces(), "[SetCameraResolution] SetCameraResolution-1\n");
    EXPECT_EQ(calls(),
              "Close(6)\n"
              "Open(6)\n"
              "SetCurResolutionNo(6,1)\n"
              "StartCapture(6,callback)\n"
              "GetCurResolutionNo(6)\n");
    EXPECT_EQ(m_window->m_resolutionNo, 1);
    EXPECT_EQ(m_window->ui->dpilistcomb->currentText(), QStringLiteral("1920*1080"));
    EXPECT_EQ(m_window->m_cameras.front().status, 1) << "the record is not touched";
    EXPECT_EQ(settingsFile("1234*5678.ini"), "") << "nothing is saved";
}

TEST_F(OptionsTest, restartGoesOnWhateverFails)
{
    openWithThreeSizes();
    for (const char *name : {"Close", "Open", "SetCurResolutionNo", "StartCapture"})
        fake_set_result(name, -1);
    fake_set_result("GetCurResolutionNo", -7);
    EXPECT_EQ(m_window->SetCameraResolution(2), -7);
    EXPECT_EQ(traces(), "[SetCameraResolution] SetCameraResolution--7\n");
    EXPECT_EQ(calls(),
              "Close(6)\n"
              "Open(6)\n"
              "SetCurResolutionNo(6,2)\n"
              "StartCapture(6,callback)\n"
              "GetCurResolutionNo(6)\n");
}

TEST_F(OptionsTest, deviceIsReadAfreshBeforeEachCall)
{
    openWithThreeSizes();
    const QSignalBlocker quiet(m_window->ui->devlistcomb);
    for (const unsigned id : {10U, 11U, 12U, 13U})
        m_window->ui->devlistcomb->addItem(QStringLiteral("Cam%1").arg(id), id);
    const CallWatch watch([this](const std::string &, const std::string &) {
        QComboBox &selector = *m_window->ui->devlistcomb;
        selector.setCurrentIndex(selector.currentIndex() + 1);
    });
    m_window->SetCameraResolution(2);
    EXPECT_EQ(calls(),
              "Close(6)\n"
              "Open(10)\n"
              "SetCurResolutionNo(11,2)\n"
              "StartCapture(12,callback)\n"
              "GetCurResolutionNo(13)\n");
}

TEST_F(OptionsTest, resolutionInUseCausesNoCall)
{
    openWithThreeSizes();
    m_window->onslot_dpilistcomb_changecurrentindex(1);
    EXPECT_EQ(calls(), "");
    m_window->ui->dpilistcomb->setCurrentIndex(2);
    calls();
    m_window->onslot_dpilistcomb_changecurrentindex(0);
    EXPECT_EQ(calls(), "");
}

TEST_F(OptionsTest, selectorThatIsNotReadyCausesNoCall)
{
    openWithThreeSizes();
    m_window->m_resolutionSelectorReady = false;
    m_window->ui->dpilistcomb->setCurrentIndex(2);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(m_window->m_resolutionNo, 0);
}

TEST_F(OptionsTest, textThatNamesNoEntryCausesNoCall)
{
    openWithThreeSizes();
    m_window->ui->dpilistcomb->addItem(QStringLiteral("1600*1200"));
    m_window->ui->dpilistcomb->setCurrentIndex(3);
    m_window->ui->dpilistcomb->addItem(QStringLiteral("0640*0480"));
    m_window->ui->dpilistcomb->setCurrentIndex(4);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(m_window->m_resolutionNo, 0);
}

TEST_F(OptionsTest, firstOfTwoEqualSizesIsTaken)
{
    fake_set_resolution_json(R"([{"res-no":0,"res-w":320,"res-h":240},)"
                             R"({"res-no":5,"res-w":640,"res-h":480},)"
                             R"({"res-no":8,"res-w":640,"res-h":480}])");
    openOneCamera();
    m_window->ui->dpilistcomb->setCurrentIndex(2);
    EXPECT_NE(calls().find("SetCurResolutionNo(0,5)\n"), std::string::npos);
    EXPECT_EQ(m_window->m_resolutionNo, 5);
    EXPECT_EQ(m_window->ui->dpilistcomb->currentIndex(), 1);
}

TEST_F(OptionsTest, colourListIsFixed)
{
    std::string text = "[1]";
    m_window->ParseCamFileColorJSONStr(text.data());
    m_window->ParseCamFileColorJSONStr(nullptr);
    EXPECT_EQ(traces(),
              "[ParseCamFileColorJSONStr]color-json:[1]\n"
              "[ParseCamFileColorJSONStr]color-json:(null)\n");
    const auto &list = m_window->m_fileArgv.colorlist;
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[2].name, QStringLiteral("黑白"));
    EXPECT_EQ(list[2].key, QStringLiteral("lineart"));
    EXPECT_EQ(list[2].index, 2);
}

TEST_F(OptionsTest, colourSelectorRemembersTheCode)
{
    QComboBox &selector = *m_window->ui->colormodecomb;
    selector.addItem(QStringLiteral("old"));
    m_window->FreshCamFileColorWidget();
    EXPECT_EQ(selector.count(), 0) << "without a list";
    m_window->ParseCamFileColorJSONStr(nullptr);
    for (const auto &row : {std::make_pair(0, "彩色"), std::make_pair(2, "黑白"),
                            std::make_pair(5, "彩色"), std::make_pair(-1, "彩色")}) {
        m_window->m_fileArgv.color = row.first;
        m_window->FreshCamFileColorWidget();
        EXPECT_EQ(selector.currentText(), QString::fromUtf8(row.second));
    }
    EXPECT_EQ(entries(selector),
              (std::vector<std::pair<QString, QVariant>>{{QStringLiteral("彩色"), 0},
                                                         {QStringLiteral("灰度"), 1},
                                                         {QStringLiteral("黑白"), 2}}));
}

TEST_F(OptionsTest, typeSelectorOffersTheFixedTypes)
{
    fillTypes("png", false);
    EXPECT_EQ(m_window->m_fileArgv.typelist.join(QLatin1Char(' ')),
              QStringLiteral("jpg bmp pdf ofd png tiff"));
    const auto list = entries(*m_window->ui->filemodecomb);
    ASSERT_EQ(list.size(), 6U);
    for (std::size_t i = 0; i < list.size(); ++i) {
        EXPECT_EQ(list[i].first, m_window->m_fileArgv.typelist[static_cast<int>(i)]);
        EXPECT_FALSE(list[i].second.isValid());
    }
    EXPECT_EQ(m_window->ui->filemodecomb->currentText(), QStringLiteral("png"));
    fillTypes("gif", false);
    EXPECT_EQ(m_window->ui->filemodecomb->currentText(), QStringLiteral("jpg"));
}

TEST_F(OptionsTest, multiPageSwitchFollowsTheRememberedType)
{
    const struct
    {
        const char *type;
        bool usable;
    } rows[] = {{"jpg", false}, {"bmp", false}, {"pdf", true},
                {"ofd", true},  {"png", false}, {"tiff", false}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.type);
        fillTypes(row.type, true);
        EXPECT_EQ(box().isEnabled(), row.usable);
        EXPECT_EQ(box().isChecked(), row.usable);
        fillTypes(row.type, false);
        EXPECT_EQ(box().isEnabled(), row.usable);
        EXPECT_FALSE(box().isChecked());
    }
}

TEST_F(OptionsTest, leavingADocumentTypeDropsTheSwitch)
{
    fillTypes("pdf", true);
    selectType("ofd");
    EXPECT_TRUE(box().isChecked());
    selectType("jpg");
    EXPECT_FALSE(box().isChecked());
    EXPECT_FALSE(box().isEnabled());
    selectType("pdf");
    EXPECT_FALSE(box().isChecked());
    EXPECT_TRUE(box().isEnabled());
}

TEST_F(OptionsTest, pngIsEnabledByOneRuleAndDroppedByTheOther)
{
    fillTypes("png", false);
    EXPECT_FALSE(box().isEnabled());
    m_window->EnableWidgets(true, true);
    EXPECT_TRUE(box().isEnabled());
    m_window->ui->multPageCB->setChecked(true);
    EXPECT_FALSE(box().isChecked()) << "the check box's own slot takes it back";
    EXPECT_FALSE(box().isEnabled());
    m_window->EnableWidgets(true, true);
    m_window->onslot_filemodecomb_changecurrentindex(0);
    EXPECT_FALSE(box().isEnabled());
}

TEST_F(OptionsTest, cropAndRotationAreRememberedByText)
{
    m_window->m_fileArgv.crop_type = QStringLiteral("自动裁切");
    m_window->m_fileArgv.rotate = QStringLiteral("右旋90度");
    m_window->FreshCamCropTypeWidget();
    m_window->FreshCamRotateTypeWidget();
    EXPECT_EQ(entries(*m_window->ui->cropstylecomb),
              (std::vector<std::pair<QString, QVariant>>{{QStringLiteral("无"), -1},
                                                         {QStringLiteral("自动裁切"), 0}}));
    EXPECT_EQ(entries(*m_window->ui->rotatestylecomb),
              (std::vector<std::pair<QString, QVariant>>{{QStringLiteral("无"), 0},
                                                         {QStringLiteral("左旋90度"), 1},
                                                         {QStringLiteral("右旋90度"), 2},
                                                         {QStringLiteral("旋转180度"), 3}}));
    EXPECT_EQ(m_window->ui->cropstylecomb->currentData().toInt(), 0);
    EXPECT_EQ(m_window->ui->rotatestylecomb->currentData().toInt(), 2);
    m_window->m_fileArgv.crop_type = QStringLiteral("0");
    m_window->m_fileArgv.rotate = QStringLiteral("右旋90");
    m_window->FreshCamCropTypeWidget();
    m_window->FreshCamRotateTypeWidget();
    EXPECT_EQ(m_window->ui->cropstylecomb->currentIndex(), 0);
    EXPECT_EQ(m_window->ui->rotatestylecomb->currentIndex(), 0);
}
