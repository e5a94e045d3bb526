#include "symbols/placehelper.h"
#include "symbols/windows/frmaddnew.h"
#include "symbols/windows/frmlookup.h"
#include "symbols/windows/frmplace.h"
#include "symbolsfixture.h"

#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

namespace {

using symbols::frmAddNew;
using symbols::frmLookup;
using testing_support::Prompt;

QStringList items(QComboBox* box)
{
    QStringList texts;
    for (int i = 0; i < box->count(); ++i)
        texts.append(box->itemText(i));
    return texts;
}

QStringList column(QTreeWidget* list, int position)
{
    QStringList texts;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        texts.append(list->topLevelItem(i)->text(position));
    return texts;
}

void choose(QComboBox* box, const QString& text)
{
    const int index = box->findText(text);
    ASSERT_GE(index, 0) << text.toStdString();
    box->setCurrentIndex(index);
}

class LookupTest : public SymbolsTest
{
protected:
    void insert(const QString& security, const QString& symbol, const QString& exchange)
    {
        run({QStringLiteral("insert into symbols values ('%1', '%2', '%3')")
                 .arg(QString(security).replace(u'\'', QLatin1String("''")), symbol, exchange)});
    }
};

// Rows sorted by the exchange and then the name, without regard to case.
void expectSorted(QTreeWidget* list)
{
    const QStringList names = column(list, 0);
    const QStringList exchanges = column(list, 2);
    for (qsizetype i = 1; i < names.size(); ++i) {
        const int byExchange = exchanges[i - 1].compare(exchanges[i], Qt::CaseInsensitive);
        const int byName = names[i - 1].compare(names[i], Qt::CaseInsensitive);
        ASSERT_TRUE(byExchange < 0 || (byExchange == 0 && byName <= 0)) << names[i].toStdString();
    }
}

// "All" and then every exchange of the rows, in order, and the rows sorted by exchange and name; an
// exchange with a quote in its name shows the engine's error when chosen, and the window goes on.
TEST_F(LookupTest, ListsTheCatalogueByExchangeAndFiltersByExchange)
{
    insert("Quoted Ltd.", "QTD", "Hang Seng''s");
    frmLookup lookup(context);
    const QStringList exchanges = items(lookup.Combo1);
    ASSERT_GE(exchanges.size(), 9);
    EXPECT_EQ(exchanges.first(), "All");
    EXPECT_EQ(lookup.Combo1->currentIndex(), 0);
    for (qsizetype i = 2; i < exchanges.size(); ++i)
        EXPECT_LT(exchanges[i - 1].compare(exchanges[i], Qt::CaseInsensitive), 0) << exchanges[i].toStdString();
    symbols::Database database(file(), symbols::kConnect);
    ASSERT_EQ(lookup.ListView1->topLevelItemCount(), database.query(symbols::sql::kLookupLoad).recordCount());
    expectSorted(lookup.ListView1);
    const QStringList listed = column(lookup.ListView1, 2);
    EXPECT_EQ(QSet<QString>(listed.begin(), listed.end()), QSet<QString>(exchanges.begin() + 1, exchanges.end()));
    // An exchange shows its rows by name; "All" shows everything again.
    const QStringList everything = column(lookup.ListView1, 1);
    QTest::keyClicks(lookup.Combo1, "X");
    EXPECT_EQ(lookup.Combo1->currentIndex(), 0) << "typing does not pick an exchange";
    choose(lookup.Combo1, "XETRA");
    const QStringList xetra = column(lookup.ListView1, 2);
    EXPECT_TRUE(xetra.size() >= 20 && xetra.count("XETRA") == xetra.size());
    expectSorted(lookup.ListView1);
    choose(lookup.Combo1, "All");
    EXPECT_EQ(column(lookup.ListView1, 1), everything);
    EXPECT_TRUE(context.prompter().prompts.isEmpty());

    choose(lookup.Combo1, "Hang Seng's");
    ASSERT_EQ(context.prompter().prompts.size(), 1);
    const Prompt& shown = context.prompter().prompts.first();
    EXPECT_EQ(shown.icon, context::Prompter::Icon::Critical);
    EXPECT_TRUE(shown.text.contains("syntax error") || shown.text.contains("unrecognized")) << shown.text.toStdString();
    EXPECT_EQ(column(lookup.ListView1, 1), everything);
    choose(lookup.Combo1, "XETRA");
    EXPECT_EQ(column(lookup.ListView1, 2), xetra);
}

// A row clicked and then OK, or double-clicked, gives its trimmed name and symbol; Close, OK without a
// selection and an empty list give an empty security. Each outcome as "how: result name|symbol".
TEST_F(LookupTest, SingleChoiceHandsBackTheChosenRowOrNothing)
{
    insert("  Padded Corp  ", " PAD ", "XETRA");
    QStringList outcomes;
    for (const QString how : {"ok", "double click", "close", "nothing selected", "empty list"}) {
        if (how == u"empty list")
            run({"delete from symbols"});
        frmLookup lookup(context);
        lookup.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&lookup));
        if (how != u"empty list" && how != u"nothing selected") {
            choose(lookup.Combo1, "XETRA");
            const auto padded = lookup.ListView1->findItems(" PAD ", Qt::MatchExactly, 1);
            ASSERT_EQ(padded.size(), 1);
            const QPoint at = lookup.ListView1->visualItemRect(padded[0]).center();
            QTest::mouseClick(lookup.ListView1->viewport(), Qt::LeftButton, {}, at);
            EXPECT_EQ(lookup.Text1->text(), "Padded Corp");
            if (how == u"double click")
                QTest::mouseDClick(lookup.ListView1->viewport(), Qt::LeftButton, {}, at);
        }
        if (how != u"double click")
            (how == u"close" ? lookup.Command3 : lookup.Command1)->click();
        outcomes << QStringLiteral("%1: %2 %3|%4")
                        .arg(how)
                        .arg(lookup.result())
                        .arg(lookup.selectedSecurity(), lookup.selectedSymbol());
    }
    EXPECT_EQ(outcomes,
              QStringList({"ok: 1 Padded Corp|PAD",
                           "double click: 1 Padded Corp|PAD",
                           "close: 0 |",
                           "nothing selected: 1 |",
                           "empty list: 1 |"}));
    EXPECT_EQ(items(frmLookup(context).Combo1), QStringList{"All"}) << "the empty list";
}

// Rows chosen fill the shared lists, trimmed and in list order; Close keeps the last choice, and OK
// without a choice empties them.
TEST_F(LookupTest, MultipleChoiceFillsTheSharedListsInListOrder)
{
    insert(" Aaa Padded ", " AAP ", "XETRA");
    auto& state = context->state;
    state.lookupNames = QStringList{"stale"};
    state.lookupSymbols = QStringList{"STALE"};
    QStringList expected;
    for (const QString how : {"ok", "close", "nothing chosen"}) {
        frmLookup lookup(context);
        lookup.setMultipleChoice(true);
        choose(lookup.Combo1, "XETRA");
        if (how == u"ok") {
            lookup.ListView1->topLevelItem(4)->setSelected(true);
            lookup.ListView1->topLevelItem(0)->setSelected(true);
            expected = {"Aaa Padded", column(lookup.ListView1, 0)[4], "AAP", column(lookup.ListView1, 1)[4]};
        } else if (how == u"close") {
            lookup.ListView1->topLevelItem(1)->setSelected(true);
        } else {
            expected.clear();
        }
        (how == u"close" ? lookup.Command3 : lookup.Command1)->click();
        EXPECT_EQ(state.lookupNames + state.lookupSymbols, expected) << qPrintable(how);
        EXPECT_EQ(lookup.selectedSecurity(), QString());
    }
}

// Add New asks for the fields while all are empty. An entry of the exchange alone is stored with empty
// texts, others trimmed with the symbol in upper case; the boxes but the exchange are cleared after each,
// and the lookup shows the entries at once.
TEST_F(LookupTest, AddNewStoresTrimmedEntriesThatTheLookupShowsAtOnce)
{
    frmLookup lookup(context);
    const QStringList exchanges = items(lookup.Combo1).mid(1);
    const int rows = lookup.ListView1->topLevelItemCount();
    QStringList offered;
    context.modalDrivers.push_back([&](QDialog& dialog) {
        auto& addNew = dynamic_cast<frmAddNew&>(dialog);
        offered = items(addNew.Combo1);
        addNew.Command1->click();
        addNew.Combo1->setEditText("XETRA");
        addNew.Command1->click();
        addNew.Text1->setText("  Mahindra & Mahindra  ");
        QTest::keyClicks(addNew.Text2, " m&m.ns");
        EXPECT_EQ(addNew.Text2->text(), " M&M.NS");
        addNew.Combo1->setEditText(" National Stock Exchange of India ");
        addNew.Command1->click();
        EXPECT_EQ(addNew.Text1->text() + addNew.Text2->text() + '|' + addNew.Combo1->currentText(),
                  "| National Stock Exchange of India ");
        addNew.Command2->click();
        return dialog.result();
    });
    lookup.Command2->click();
    EXPECT_EQ(offered, exchanges);
    ASSERT_EQ(context.prompter().prompts.size(), 1);
    const Prompt& asked = context.prompter().prompts[0];
    EXPECT_EQ(asked.title + ": " + asked.text, "Ticksmith: Fill all fields.");
    EXPECT_EQ(asked.icon, context::Prompter::Icon::Information);
    ASSERT_EQ(lookup.ListView1->topLevelItemCount(), rows + 2);
    const auto blank = lookup.ListView1->findItems(QString(), Qt::MatchExactly, 0);
    ASSERT_EQ(blank.size(), 1);
    EXPECT_EQ(blank.first()->text(1) + '|' + blank.first()->text(2), "|XETRA");
    symbols::Database database(file(), symbols::kConnect);
    EXPECT_EQ(database
                  .query("select * from symbols where (security='' and symbol='' and exchange='XETRA') or "
                         "(security='Mahindra & Mahindra' and symbol='M&M.NS' and "
                         "exchange='National Stock Exchange of India')")
                  .recordCount(),
              2);
}

// A missing file, then a damaged one: the windows show the engine's text and keep running.
TEST_F(SymbolsTest, WindowsOverABrokenDatabaseShowTheEnginesTextAndKeepRunning)
{
    QFile::remove(file());
    for (const QString error : {"unable to open database file", "file is encrypted or is not a database"}) {
        if (error.startsWith(u"file")) {
            QFile damaged(file());
            ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
            damaged.write(QByteArray(8192, '\x5a'));
        }
        context.prompter().prompts.clear();
        {
            frmLookup lookup(context);
            EXPECT_EQ(lookup.Combo1->count(), 0);
            lookup.Command1->click();
            EXPECT_EQ(lookup.selectedSecurity(), QString());
        }
        frmAddNew addNew(context, nullptr);
        addNew.Text1->setText("Name");
        addNew.Command1->click();
        EXPECT_EQ(context.prompter().messages(), (QStringList{error, error, error}));
        EXPECT_EQ(QFile::exists(file()), error.startsWith(u"file")) << "no database is made where none was";
    }
}

// Each case as "address + symbol -> the page opened, or the start of what the user is told".
TEST(PlaceHelperTest, OpensTheConfiguredPageForTheSymbolOrSaysWhyNot)
{
    const char* const cases[][3] = {
        {"  ", "IBM", "No intraday chart page is configured."},
        {"http://c.test/{symbol}/1d", "^GSPC", "http://c.test/%5EGSPC/1d"},
        {"https://c.test/q?s={symbol}&range=1d", "M&M.NS", "https://c.test/q?s=M%26M.NS&range=1d"},
        {"ftp://c.test/{symbol}", "IBM", "The intraday chart address"},
        {"https://c.test/{symbol}", " ", "There is no symbol"},
    };
    QStringList expected, outcomes;
    for (const auto& [address, symbol, outcome] : cases) {
        testing_support::TestContext context;
        context->settings->setValue(symbols::kIntradayChartUrlKey, QString(address));
        const bool shown = symbols::PlaceHelper(context).ShowChart(QString(symbol), 16);
        QStringList happened;
        for (const QUrl& url : context.openedUrls)
            happened << url.toString(QUrl::FullyEncoded) + " (shown)";
        for (const QString& message : context.prompter().messages())
            happened << message.left(int(qstrlen(outcome)));
        const QString in = QStringLiteral("%1 + %2 -> ").arg(address, symbol);
        expected << in + outcome + (QLatin1String(outcome).startsWith(u"http") ? " (shown)" : "");
        outcomes << in + happened.join(" and ")
                + (shown == context.openedUrls.isEmpty() ? " (returned otherwise)" : "");
    }
    EXPECT_EQ(outcomes, expected);
}

TEST(MarketPlaceTest, OkShowsTheSymbolsChartAndCancelShowsNothing)
{
    testing_support::TestContext context;
    context->settings->setValue(symbols::kIntradayChartUrlKey, "https://charts.example.net/{symbol}");
    {
        symbols::frmPlace place(context);
        EXPECT_EQ(items(place.Combo1), QStringList{"India"});
        place.symbol = "RELIANCE.NS";
        place.Command2->click();
        EXPECT_TRUE(context.openedUrls.isEmpty());
        place.Command1->click();
        EXPECT_EQ(place.result(), int(QDialog::Accepted));
    }
    EXPECT_EQ(context.openedUrls, QList<QUrl>{QUrl("https://charts.example.net/RELIANCE.NS")});
}

} // namespace
