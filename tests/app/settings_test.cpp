#include "app/frmsettings.h"
#include "app/frmtip.h"
#include "download/httpchannel.h"
#include "download/sources/sourceclient.h"
#include "download/windows/sourcesettings.h"
#include "quoteserver.h"
#include "symbols/placehelper.h"
#include "symbols/symbolsdb.h"
#include "testcontext.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QSlider>
#include <QSpinBox>

#include <gtest/gtest.h>

namespace {

using testing_support::TestContext;

class SettingsTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(context.installProgramFile(symbols::kDatabaseFileName)); }

    symbols::Options stored() { return symbols::readOptions(context); }

    TestContext context;
};

// Opens with the stored options, tips on while their key is missing; Apply stores everything, Cancel
// nothing, OK stores and closes.
TEST_F(SettingsTest, OpensWithTheStoredOptionsApplyAndOkStoreAndCancelDoesNot)
{
    symbols::writeOptions(context, {5, 3}); // any non-zero s1 ticks the box, and unticking stores 0
    {
        app::frmSettings settings(context);
        ASSERT_TRUE(settings.Check1->isChecked() && settings.Check2->isChecked());
        EXPECT_EQ(settings.Label1->text() + ' ' + settings.spnTimeout->text(), "3 30 s");
        settings.Check1->setChecked(false);
        settings.Slider1->setValue(4);
        EXPECT_EQ(settings.Label1->text(), "4");
        settings.Check2->setChecked(false);
        settings.txtHistoryUrl->setText(" http://127.0.0.1:8080 ");
        settings.txtIntradayChartUrl->setText("https://charts.example.net/intraday?s={symbol}&range=1d");
        settings.spnTimeout->setValue(12);
        settings.Command2->click();
    }
    EXPECT_EQ(QList<int>({stored().s1, stored().s2, context->state.s1, context->state.s2}), QList<int>({0, 4, 0, 4}));
    QSettings& settings = *context->settings;
    EXPECT_EQ(QStringList({settings.value(app::showTipsAtStartupKey()).toString(),
                           settings.value(QLatin1String(download::HistoryUrlKey)).toString(),
                           settings.value(symbols::kIntradayChartUrlKey).toString()}),
              QStringList({"0", "http://127.0.0.1:8080", "https://charts.example.net/intraday?s={symbol}&range=1d"}));
    EXPECT_EQ(download::HttpLimits::fromSettings(settings).timeout, std::chrono::seconds(12));
    app::frmSettings cancelled(context);
    cancelled.Slider1->setValue(2);
    cancelled.Command3->click();
    EXPECT_EQ(QList<int>({stored().s2, context->state.s2}), QList<int>({4, 4}));
    EXPECT_EQ(cancelled.result(), int(QDialog::Rejected));
    app::frmSettings ok(context);
    ok.Check1->setChecked(true);
    ok.Command1->click();
    EXPECT_EQ(ok.result(), int(QDialog::Accepted));
    EXPECT_EQ(QList<int>({stored().s1, context->state.s1}), QList<int>({1, 1}));
    EXPECT_TRUE(context.prompter().prompts.isEmpty());
}

// One address per box: which addresses a service can use is the address checks' own test's matter.
TEST_F(SettingsTest, AnUnusableAddressIsRefusedAndNothingSaved)
{
    const std::pair<const char*, const char*> cases[] = {{"txtHistoryUrl", "ftp://quotes.example.net"},
                                                         {"txtQuoteUrl", "https://quotes.example.net/d/quotes.csv"},
                                                         {"txtIntradayChartUrl", "charts {symbol}"}};
    for (const auto& [field, address] : cases) {
        app::frmSettings settings(context);
        settings.findChild<QLineEdit*>(QLatin1String(field))->setText(QLatin1String(address));
        settings.Slider1->setValue(5);
        settings.Command1->click();
        EXPECT_NE(settings.result(), int(QDialog::Accepted)) << field;
        EXPECT_TRUE(context.prompter().prompts.last().text.contains(QLatin1String(address))) << field;
    }
    EXPECT_EQ(context.prompter().prompts.size(), 3);
    EXPECT_EQ(QList<int>({stored().s2, context->state.s2}), QList<int>({1, 0}));
    EXPECT_TRUE(context->settings->allKeys().isEmpty());
}

// The quote source: the choice, its key and the fallbacks are kept (the file readable by its owner
// alone), and "Test" shows what the source sent.
TEST_F(SettingsTest, KeepsTheQuoteSourceItsKeyAndFallbacksAndTestsTheSource)
{
    testing_support::QuoteServer server;
    const QByteArray yesterday = QDate::currentDate().addDays(-1).toString(Qt::ISODate).toLatin1();
    server.canned[QStringLiteral("/api/eod/IBM.US")] = {
        {"200 OK",
         "Date,Open,High,Low,Close,Adjusted_close,Volume\n" + yesterday + ",10,12,9,11,11,5000\n",
         "text/csv",
         {}}};
    qputenv("TICKSMITH_EODHD_URL", server.url().toLatin1());
    {
        app::frmSettings settings(context);
        download::SourceSettingsBox& box = *settings.Sources;
        EXPECT_EQ(box.cboSource->currentData().toString(), "classic");
        EXPECT_FALSE(box.txtSourceKey->isEnabled());
        box.cboSource->setCurrentIndex(box.cboSource->findData(QStringLiteral("eodhd")));
        EXPECT_EQ(box.txtSourceKey->echoMode(), QLineEdit::Password);
        box.txtSourceKey->setText(QStringLiteral("eod-key"));
        for (int i = 0; i < box.lstFallback->count(); ++i) {
            QListWidgetItem* item = box.lstFallback->item(i);
            if (item->data(Qt::UserRole).toString() == u"yahoo")
                item->setCheckState(Qt::Checked);
        }
        box.txtTestSymbol->setText(QStringLiteral("IBM"));
        box.cmdTestSource->click();
        EXPECT_TRUE(box.lblTestResult->text().contains(QLatin1String("1 bars; the newest: " + yesterday)))
            << box.lblTestResult->text().toStdString();
        EXPECT_TRUE(box.lblTestResult->text().contains(QLatin1String("api_token=********")));
        ASSERT_EQ(server.requests().size(), 1);
        EXPECT_EQ(server.requests()[0].query.queryItemValue(QStringLiteral("api_token")), "eod-key");
        settings.Command2->click();
    }
    qunsetenv("TICKSMITH_EODHD_URL");
    QSettings& stored = *context->settings;
    EXPECT_EQ(QStringList({stored.value(QLatin1String(download::sources::SourceKey)).toString(),
                           stored.value(QLatin1String(download::sources::FallbackKey)).toString(),
                           stored.value(QStringLiteral("Sources/eodhdKey")).toString()}),
              QStringList({"eodhd", "yahoo", "eod-key"}));
    EXPECT_EQ(QFile::permissions(stored.fileName())
                  & ~(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser),
              QFile::Permissions());
    EXPECT_TRUE(QFile::permissions(stored.fileName()) & QFile::ReadOwner);
    app::frmSettings again(context);
    EXPECT_EQ(again.Sources->cboSource->currentData().toString() + ' ' + again.Sources->txtSourceKey->text(),
              "eodhd eod-key");
}

} // namespace
