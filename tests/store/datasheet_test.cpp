#include "store/metastockwriter.h"
#include "store/windows/bartablemodel.h"
#include "store/windows/frmopen.h"
#include "store/windows/frmview.h"
#include "storetest.h"
#include "testcontext.h"

#include <QApplication>
#include <QDateEdit>
#include <QLineEdit>
#include <QProgressDialog>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include <memory>

namespace {

using store::frmOpen;
using store::frmRecord;
using store::frmView;
using store::PriceBar;
using store_test::operator<<;

const qint32 kDays[] = {20050103, 20050104, 20050105};

// A folder with the securities Alpha (ALP), Beta (BET) and Gamma (GAM), each with the three bars of
// kDays; Gamma is weekly. Closes are 10.5, 11.5, 12.5.
class DataSheetTest : public ::testing::Test
{
protected:
    DataSheetTest()
    {
        store::MetaStockWriter writer;
        EXPECT_OK(writer.OpenFolder(folder));
        const char* const securities[][2] = {{"ALP", "Alpha"}, {"BET", "Beta"}, {"GAM", "Gamma"}};
        for (const auto& [symbol, name] : securities) {
            EXPECT_OK(writer.CreateSecurity(symbol, name, QLatin1String(symbol) == u"GAM" ? 2 : 1));
            double close = 10.5;
            for (qint32 day : kDays) {
                EXPECT_OK(writer.AddBar(day, 0, close - 0.5, close + 1, close - 1, close, 1000, 0));
                close += 1;
            }
            EXPECT_OK(writer.CloseSecurity());
        }
        EXPECT_OK(writer.CloseFolder());
        context->state.currentFolder = folder;
        context->onShowChild = [this](QWidget* child) { children.emplace_back(child); };
    }

    std::vector<PriceBar> barsOf(const QString& symbol) { return store_test::barsOf(folder, symbol); }

    frmView& sheet(int index = 0) { return dynamic_cast<frmView&>(*children.at(size_t(index))); }

    // The next "Change Record" dialog gets these five boxes and this date, and Apply.
    void applyRecord(QDate date, QStringList boxes)
    {
        context.modalDrivers.push_back([date, boxes](QDialog& dialog) {
            auto& record = dynamic_cast<frmRecord&>(dialog);
            record.DTPicker1->setDate(date);
            const QList<QLineEdit*> fields = {record.Text1, record.Text2, record.Text3, record.Text4, record.Text5};
            for (int i = 0; i < 5; ++i)
                fields[i]->setText(boxes[i]);
            record.Command1->click();
            return record.result();
        });
    }

    static QStringList row(const frmView& view, int index)
    {
        QStringList cells;
        for (int column = 0; column < 6; ++column)
            cells.append(view.bars().index(index, column).data().toString());
        return cells;
    }

    testing_support::TestContext context;
    QString folder = context.makeFolder("data");
    std::vector<std::unique_ptr<QWidget>> children;
};

// The list keeps the folder's order; a click names the row, a double click opens it. The data sheet
// reads through the symbol of the row listed last, whatever row was chosen. Each opening adds a numbered
// recent entry, unless an entry made in another form has the typed name as its caption.
TEST_F(DataSheetTest, OpenListsTheFolderAndOpensWithTheSymbolListedLast)
{
    {
        frmOpen empty(context);
        empty.Command2->click();
        EXPECT_NE(empty.result(), QDialog::Accepted);
    }
    EXPECT_EQ(context.prompter().messages(), QStringList{"No Security Selected."});
    frmOpen open(context);
    open.show();
    EXPECT_EQ(open.Text1->text(), folder);
    ASSERT_EQ(open.ListView1->topLevelItemCount(), 3);
    const QTreeWidgetItem* beta = open.ListView1->topLevelItem(1);
    EXPECT_EQ(QStringList({beta->text(0), beta->text(1), beta->text(2), beta->text(3)}),
              QStringList({"Beta", "BET", "F2.DAT", "20050105"}));
    QTest::mouseClick(open.ListView1->viewport(), Qt::LeftButton, {}, open.ListView1->visualItemRect(beta).center());
    EXPECT_EQ(open.Text2->text(), "Beta");
    EXPECT_TRUE(children.empty());
    // A double click is a press, a release and a second press seen as a double click.
    const QPoint alpha = open.ListView1->visualItemRect(open.ListView1->topLevelItem(0)).center();
    QTest::mouseClick(open.ListView1->viewport(), Qt::LeftButton, {}, alpha);
    QTest::mouseDClick(open.ListView1->viewport(), Qt::LeftButton, {}, alpha);
    ASSERT_EQ(children.size(), 1u);
    EXPECT_EQ(sheet().windowTitle(), "DataSheet of Alpha");
    EXPECT_EQ(QStringList({sheet().Text1->text(), sheet().Text2->text(), sheet().Text3->text()}),
              QStringList({folder, "Alpha", "GAM"}));
    // The header shows the first and last dates and the periodicity, the table every bar, the newest current.
    EXPECT_EQ(QStringList({sheet().Text4->text(), sheet().Text5->text(), sheet().Text6->text()}),
              QStringList({"1/3/2005", "1/5/2005", "Weekly"}));
    ASSERT_EQ(sheet().bars().rowCount(), 3);
    EXPECT_EQ(row(sheet(), 2), QStringList({"1/5/2005", "12.00", "13.50", "11.50", "12.50", "1000"}));
    EXPECT_EQ(sheet().ListView1->currentIndex().row(), 2);
    EXPECT_EQ(open.result(), QDialog::Accepted);

    for (const char* typed : {" Not Listed ", "Odd"}) {
        if (typed == QLatin1String("Odd"))
            context->state.recent.append({"Odd", folder, " Odd "});
        frmOpen again(context);
        again.Text2->setText(QLatin1String(typed));
        QTest::keyClick(again.ListView1, Qt::Key_Return);
    }
    QStringList recent;
    for (const context::RecentSecurity& entry : context->state.recent)
        recent << entry.caption + '|' + entry.folder;
    EXPECT_EQ(recent, QStringList({"&1 Alpha|" + folder, "&2 Not Listed|" + folder, " Odd |" + folder}));
    EXPECT_EQ(children.size(), 3u);
}

// Browse lists the folder picked, a cancel changes nothing; Enter in the Directory box lists what is
// typed there, but a folder that is damaged or no data folder lists nothing new, says nothing and is left
// as it was. Every way out leaves the trimmed Directory box as the shared folder.
TEST_F(DataSheetTest, BrowseAndEnterListAnotherFolder)
{
    const QString empty = context.makeFolder("empty");
    const QString damaged = context.makeFolder("damaged");
    store_test::writeFile(damaged + "/MASTER", "not an index");
    context.prompter().folders = {QString(), empty};
    frmOpen open(context);
    open.Command1->click();
    EXPECT_EQ(open.ListView1->topLevelItemCount(), 3);
    open.Command1->click();
    EXPECT_EQ(open.Text1->text(), empty);
    EXPECT_EQ(open.ListView1->topLevelItemCount(), 0);

    for (const QString& typed : {folder + "  ", damaged, folder + "/missing"}) {
        open.Text1->setText(typed);
        QTest::keyClick(open.Text1, Qt::Key_Return);
        EXPECT_EQ(open.ListView1->topLevelItemCount(), 3) << qPrintable(typed);
    }
    EXPECT_EQ(context.prompter().prompts.size(), 2); // the two folder picks only
    EXPECT_EQ(store_test::readFile(damaged + "/MASTER"), QByteArray("not an index"));
    open.Text1->setText(folder + "  ");
    open.Command3->click();
    EXPECT_EQ(context->state.currentFolder, folder);
}

// The progress window's Cancel, pressed while the bars are read, keeps the rows read so far and the
// last date of the header.
TEST_F(DataSheetTest, CancelledLoadingKeepsAPartialTable)
{
    store::MetaStockWriter writer;
    ASSERT_OK(writer.OpenFolder(folder));
    ASSERT_OK(writer.SelectSecurity("ALP"));
    for (qint32 day = 20050201; day <= 20050228; ++day)
        ASSERT_OK(writer.AddBar(day, 0, 1, 1, 1, 1, 1, 0));
    ASSERT_OK(writer.CloseFolder());
    QTimer::singleShot(0, [] {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (auto* progress = qobject_cast<QProgressDialog*>(widget))
                progress->cancel();
        }
    });
    frmView view(context, folder, "Alpha", "ALP", nullptr, store::ProgressWindow::Display::Window);
    EXPECT_GE(view.bars().rowCount(), 1);
    EXPECT_LT(view.bars().rowCount(), 31);
    EXPECT_EQ(view.Text5->text(), "2/28/2005");
}

// Insert writes a hand-entered bar (open interest -1). Change writes the values into the bar of the
// dialog's date and into the selected row, which keeps its place and date even when the date is another
// row's; its boxes start with the stored values. Delete removes the selected row only after Yes.
TEST_F(DataSheetTest, InsertChangeAndDeleteWriteTheFolderAndTheSheet)
{
    frmView view(context, folder, "Alpha", "ALP");
    applyRecord(QDate(2004, 12, 31), {"9.25", "9.5", "9", "9.125", "12345"});
    view.Command2->click();
    ASSERT_EQ(view.bars().rowCount(), 4);
    EXPECT_EQ(row(view, 0), QStringList({"12/31/2004", "9.25", "9.50", "9.00", "9.13", "12345"}));
    EXPECT_EQ(barsOf("ALP")[0].openInterest, -1.0);

    view.ListView1->setCurrentIndex(view.bars().index(2, 0));
    QStringList shown;
    context.modalDrivers.push_back([&shown](QDialog& dialog) {
        auto& record = dynamic_cast<frmRecord&>(dialog);
        shown = {record.DTPicker1->date().toString(Qt::ISODate), record.Text1->text(), record.Text5->text()};
        record.Text4->setText("20.75");
        record.Command1->click();
        return record.result();
    });
    view.ListView1->doubleClicked(view.ListView1->currentIndex());
    EXPECT_EQ(shown, QStringList({"2005-01-04", "11", "1000"}));
    EXPECT_EQ(row(view, 2)[4], "20.75");
    applyRecord(QDate(2005, 1, 5), {"1", "2", "0.5", "1.5", "7"});
    view.Command3->click();
    EXPECT_EQ(row(view, 2), QStringList({"1/4/2005", "1.00", "2.00", "0.50", "1.50", "7"}));

    view.ListView1->setCurrentIndex(view.bars().index(0, 0));
    context.prompter().answers = {false, true};
    view.Command4->click();
    EXPECT_EQ(view.bars().rowCount(), 4);
    view.Command4->click();
    ASSERT_EQ(view.bars().rowCount(), 3);
    EXPECT_EQ(row(view, 0)[0], "1/3/2005");
    QList<double> closes;
    for (const PriceBar& bar : barsOf("ALP"))
        closes << bar.close;
    EXPECT_EQ(closes, QList<double>({10.5, 20.75, 1.5}));
    EXPECT_EQ(store_test::promptTexts(context.prompter()),
              QStringList({"Are you sure to delete date : 12/31/2004",
                           "Are you sure to delete date : 12/31/2004",
                           "Record Deleted."}));
}

// Apply with an empty box or a volume that is no number keeps the dialog open, and Close gives up; Insert
// with a date the security has is refused. A symbol the folder lacks shows an empty table. A failing
// write, for a symbol the folder lacks or a damaged data file, ends the action without a word. None of
// them touches the folder, and the folder is left free for the next writer.
TEST_F(DataSheetTest, RefusedAndFailedActionsChangeNothing)
{
    EXPECT_EQ(frmView(context, folder, "Nothing", "NONE").bars().rowCount(), 0);
    frmView view(context, folder, "Alpha", "ALP");
    const auto original = store_test::snapshot(folder);
    context.modalDrivers.push_back([](QDialog& dialog) {
        auto& record = dynamic_cast<frmRecord&>(dialog);
        record.Text1->setText("1");
        record.Command1->click();
        for (QLineEdit* box : {record.Text2, record.Text3, record.Text4})
            box->setText("2");
        record.Text5->setText("lots");
        record.Command1->click();
        EXPECT_FALSE(record.accepted);
        record.Command2->click();
        return record.result();
    });
    view.Command2->click();
    applyRecord(QDate(2005, 1, 4), {"1", "2", "3", "4", "5"});
    view.Command2->click();
    EXPECT_EQ(
        context.prompter().messages(),
        QStringList({"Please Complete All Fields.", "The volume \"lots\" is not a number.", "Date Already Exist."}));
    EXPECT_EQ(store_test::snapshot(folder), original);
    context.prompter().prompts.clear();
    view.ListView1->setCurrentIndex(view.bars().index(0, 0));
    for (const char* symbol : {"NONE", "ALP"}) {
        view.Text3->setText(QLatin1String(symbol));
        if (symbol == QLatin1String("ALP"))
            store_test::writeFile(folder + "/F1.DAT", "short");
        const auto before = store_test::snapshot(folder);
        applyRecord(QDate(2004, 12, 31), {"1", "1", "1", "1", "1"});
        view.Command2->click();
        applyRecord(QDate(2005, 1, 3), {"1", "1", "1", "1", "1"});
        view.Command3->click();
        context.prompter().answers = {true};
        view.Command4->click();
        EXPECT_EQ(store_test::snapshot(folder), before) << symbol;
        EXPECT_EQ(view.bars().rowCount(), 3) << symbol;
        EXPECT_EQ(context.prompter().messages(), QStringList()) << symbol;
        store::FileSystem fs;
        std::unique_ptr<store::FolderLock> lock;
        EXPECT_OK(store::FolderLock::acquire(fs, folder, lock, 0));
    }
}

} // namespace
