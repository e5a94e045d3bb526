// Every write sequence is all-or-nothing, also across a power cut. Each sequence runs on a simulated
// file system that dies at every single write, flush, rename and removal in turn (and once after the
// last); every state a power cut could leave on the medium at that moment is then reopened, which
// recovers it, and must be the folder before the sequence or the folder after it, sound and without
// leftovers. A sequence that completed must be entirely on the medium. Recovery itself is cut at each of
// its steps too and reopened again. Each sequence starts right after an earlier committed change whose
// journal's removal is not yet on the medium, so "before" also stands for "nothing committed is lost".
// A second pass makes each operation fail on its own while the program goes on; a sequence that still
// reports success must then be on the medium too.

#include "simfilesystem.h"
#include "store/metastockwriter.h"
#include "storetest.h"

#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <sstream>

namespace store_test {

std::ostream& operator<<(std::ostream& out, CrashModel model)
{
    return out << (model == CrashModel::Posix ? "posix" : "ext4");
}

} // namespace store_test

namespace {

using store::MetaStockWriter;
using store::Status;
using store_test::CrashModel;
using store_test::Files;
using store_test::SimFileSystem;
using store_test::operator<<;
using W = MetaStockWriter;

const QString folder = QStringLiteral("/simulated/data");

// States checked at most per crash point and per cut of a recovery, beyond that a sample drawn with a
// fixed seed: enough for every state of the small folders; the folders of 255 securities, each state of
// which takes long to check, are sampled.
size_t statesPerCrashPoint(int securities)
{
    return securities > 100 ? 30 : 400;
}

size_t statesPerRecoveryCut(int securities)
{
    return securities > 100 ? 1 : 6;
}

// Runs steps until the first that fails, as the windows do.
Status chain(std::initializer_list<std::function<Status()>> steps)
{
    for (const auto& step : steps) {
        if (Status s = step(); !s.ok())
            return s;
    }
    return {};
}

using Sequence = std::function<Status(W&)>;

// A session from OpenFolder to CloseFolder: with `selected`, ABC is selected before `change` and
// closed after it, with `commit` a Commit follows the change.
Sequence session(Sequence change, bool selected, bool commit)
{
    return [=](W& w) {
        return chain({[&] { return w.OpenFolder(folder); },
                      [&] { return selected ? w.SelectSecurity("ABC") : Status(); },
                      [&] { return change(w); },
                      [&] { return commit ? w.Commit() : Status(); },
                      [&] { return selected ? w.CloseSecurity() : Status(); },
                      [&] { return w.CloseFolder(); }});
    };
}

// As the create-security window does.
Status createNew(W& w)
{
    return chain({[&] { return w.CreateSecurity("NEW", "A long name for NEW", 1); },
                  [&] { return w.AddBar(20200102, 0, 0, 0, 0, 0, 0, 0); },
                  [&] { return w.DeleteBar("20200102"); },
                  [&] { return w.CloseSecurity(); }});
}

Status appendBars(W& w)
{
    return chain({[&] { return w.AddBar(20200113, 0, 1, 2, 0.5, 1.5, 100, 0); },
                  [&] { return w.AddBar(20200114, 0, 1, 2, 0.5, 1.5, 100, 0); },
                  [&] { return w.AddBar(20200115, 0, 1, 2, 0.5, 1.5, 100, 0); }});
}

// As the converter imports a file into a security the folder does not hold yet.
Status importAs(W& w, const QString& symbol)
{
    return chain({[&] { return w.CreateSecurity(symbol, symbol, 1); },
                  [&] { return appendBars(w); },
                  [&] { return w.CloseSecurity(); }});
}

Status importNew(W& w)
{
    return importAs(w, "NEW");
}

// Two steps in one session: the first one's renames reach the medium only with the second's flush.
Sequence twoSteps(Sequence first, Sequence second, bool onlyTheFirst = false)
{
    return [=](W& w) {
        return chain({[&] { return w.OpenFolder(folder); },
                      [&] { return first(w); },
                      [&] { return onlyTheFirst ? Status() : second(w); },
                      [&] { return onlyTheFirst ? Status() : w.CloseFolder(); }});
    };
}

// The download's step for one security with data correction: each bar replaced through BarExists,
// DeleteBar and AddBar, then Commit, CloseSecurity and CloseFolder.
Status correctBars(W& w)
{
    for (qint32 date : {20200109, 20200110, 20200113}) {
        bool exists = false;
        if (Status s = chain({[&] { return w.BarExists(QString::number(date), exists); },
                              [&] { return exists ? w.DeleteBar(QString::number(date)) : Status(); },
                              [&] { return w.AddBar(date, 0, 3, 4, 2, 3.5, 200, 0); }});
            !s.ok())
            return s;
    }
    return {};
}

struct CrashCase
{
    const char* what;
    int securities; // in the folder before the sequence: ABC with ten bars, then S2, S3, ... with one
    Sequence earlier; // committed just before, its journal's removal not yet flushed
    Sequence sequence;
    Sequence firstStep = nullptr; // of a sequence of two steps, without closing the folder
};

const Sequence appendOne = session([](W& w) { return w.AddBar(20200111, 0, 5, 5, 5, 5, 5, 0); }, true, false);
const Sequence deleteS3 = session([](W& w) { return w.DeleteSecurity("S3"); }, false, false);

// One line per sequence; adding a sequence of the writer is adding a line here.
const CrashCase crashCases[] = {
    {"create_first", 0, nullptr, session(createNew, false, false)},
    {"create", 3, appendOne, session(createNew, false, false)},
    {"create_in_a_freed_number", 3, deleteS3, session(createNew, false, false)},
    {"create_255th", 254, appendOne, session(createNew, false, false)},
    {"create_256th", 255, appendOne, session(createNew, false, false)},
    {"add_bars", 3, appendOne, session(appendBars, true, false)},
    {"download_step", 3, appendOne, session(appendBars, true, true)},
    {"download_correction", 3, appendOne, session(correctBars, true, true)},
    {"delete_bar", 3, appendOne, session([](W& w) { return w.DeleteBar("20200105"); }, true, true)},
    {"change_bar",
     3,
     appendOne,
     session([](W& w) { return w.ChangeBar("20200110", "-1", -1, 9, 9, 9, 9, 9, -1); }, true, false)},
    {"delete_bars_between",
     3,
     appendOne,
     session([](W& w) { return w.DeleteBarsBetween("20200101", "20200104"); }, true, false)},
    {"change_security",
     3,
     appendOne,
     session([](W& w) { return w.ChangeSecurity("S2", "Renamed", "NEWNAME"); }, false, false)},
    {"delete_security", 3, appendOne, session([](W& w) { return w.DeleteSecurity("S2"); }, false, false)},
    {"import", 3, appendOne, session(importNew, false, false)},
    {"import_two",
     3,
     appendOne,
     twoSteps(importNew, [](W& w) { return importAs(w, "NEW2"); }),
     twoSteps(importNew, nullptr, true)},
    {"delete_then_create",
     3,
     appendOne,
     twoSteps([](W& w) { return w.DeleteSecurity("S3"); }, createNew),
     twoSteps([](W& w) { return w.DeleteSecurity("S3"); }, nullptr, true)},
};

// The folder of a case, all of it on the medium, with the earlier change made on top.
SimFileSystem startingFolder(const CrashCase& param)
{
    SimFileSystem fs(folder);
    MetaStockWriter writer(fs);
    EXPECT_OK(writer.OpenFolder(folder));
    for (int i = 1; i <= param.securities; ++i) {
        EXPECT_OK(writer.CreateSecurity(i == 1 ? QStringLiteral("ABC") : QStringLiteral("S%1").arg(i),
                                        QStringLiteral("Security %1").arg(i),
                                        1));
        for (int day = 1; day <= (i == 1 ? 10 : 1); ++day)
            EXPECT_OK(writer.AddBar(20200100 + day, 0, day, day, day, day, day, 0));
    }
    EXPECT_OK(writer.CloseFolder());
    SimFileSystem durable(folder, fs.visibleFiles());
    if (param.earlier) {
        MetaStockWriter earlier(durable);
        EXPECT_OK(param.earlier(earlier));
    }
    durable.operations = 0;
    return durable;
}

struct Counts
{
    size_t checked = 0;
    size_t possible = 0;
};

class CrashTest : public ::testing::TestWithParam<std::tuple<CrashCase, CrashModel>>
{
protected:
    CrashModel model() const { return std::get<1>(GetParam()); }

    // Opens the folder a power cut left as a writer does, which recovers it, and requires one of
    // `allowed`; then cuts the power at each step of that recovery and requires the same of the
    // folder opened again.
    void reopen(const Files& state, const std::vector<Files>& allowed, const std::string& where)
    {
        int steps = 0;
        const Files recovered = recover(state, where, steps);
        if (::testing::Test::HasFailure())
            return;
        EXPECT_TRUE(std::find(allowed.begin(), allowed.end(), recovered) != allowed.end())
            << where << ": reopened as " << qPrintable(QStringList(recovered.keys()).join(u' '));
        for (int cut = 0; cut < steps; ++cut) {
            SimFileSystem fs(folder, state);
            fs.crashAt = cut;
            MetaStockWriter writer(fs);
            (void)writer.OpenFolder(folder);
            for (const Files& left : durableStates(fs, statesPerRecoveryCut(m_securities))) {
                if (HasFailure())
                    return;
                int unused = 0;
                const Files again = recover(left, where + ", recovery cut at step " + std::to_string(cut), unused);
                EXPECT_TRUE(std::find(allowed.begin(), allowed.end(), again) != allowed.end())
                    << where << ", recovery cut at step " << cut;
            }
        }
    }

    // The folder as a writer leaves it after opening and closing `state`; `steps` counts the operations.
    Files recover(const Files& state, const std::string& where, int& steps)
    {
        ++m_counts.checked;
        SimFileSystem fs(folder, state);
        MetaStockWriter writer(fs);
        const Status opened = writer.OpenFolder(folder);
        EXPECT_TRUE(opened.ok()) << where << ": " << qPrintable(opened.text());
        EXPECT_OK(writer.CloseFolder());
        EXPECT_EQ(store_test::problemsOf(folder, fs), QString()) << where;
        steps = fs.operations;
        return fs.visibleFiles();
    }

    std::vector<Files> durableStates(const SimFileSystem& fs, size_t limit)
    {
        size_t possible = 0;
        std::vector<Files> states = fs.durableStates(model(), limit, m_random, possible);
        m_counts.possible += possible;
        return states;
    }

    std::mt19937 m_random{19};
    Counts m_counts;
    int m_securities = 0;
};

TEST_P(CrashTest, LeavesTheFolderBeforeOrAfter)
{
    const CrashCase& param = std::get<0>(GetParam());
    m_securities = param.securities;
    const SimFileSystem start = startingFolder(param);
    ASSERT_FALSE(HasFailure());
    const Files before = start.visibleFiles();

    SimFileSystem clean = start;
    {
        MetaStockWriter writer(clean);
        ASSERT_OK(param.sequence(writer));
    }
    const Files after = clean.visibleFiles();
    ASSERT_NE(before, after);
    const int points = clean.operations;

    // Of two steps, the first one alone: once it returned, a power cut may lose the second, not it.
    std::vector<Files> whole{before, after};
    int firstDone = points;
    if (param.firstStep) {
        SimFileSystem first = start;
        {
            MetaStockWriter writer(first);
            ASSERT_OK(param.firstStep(writer));
        }
        firstDone = first.operations;
        int unused = 0;
        whole.push_back(recover(first.visibleFiles(), "after the first step", unused));
    }
    auto allowedAt = [&](int point) {
        if (point == points)
            return std::vector{after};
        if (point >= firstDone)
            return std::vector{whole.back(), after};
        return param.firstStep ? std::vector{before, whole.back()} : whole;
    };

    for (int point = 0; point <= points && !HasFailure(); ++point) {
        SimFileSystem fs = start;
        fs.crashAt = point;
        {
            MetaStockWriter writer(fs);
            (void)param.sequence(writer);
        }
        // Once a step has succeeded, all of it must be on the medium.
        const std::vector<Files> allowed = allowedAt(point);
        for (const Files& state : durableStates(fs, statesPerCrashPoint(param.securities))) {
            if (!HasFailure())
                reopen(state, allowed, "power cut at operation " + std::to_string(point));
        }
    }

    for (int point = 0; point < points && !HasFailure(); ++point) {
        SimFileSystem fs = start;
        fs.failAt = point;
        MetaStockWriter writer(fs);
        const bool succeeded = param.sequence(writer).ok();
        const std::string where = "failure of operation " + std::to_string(point);
        reopen(fs.visibleFiles(), whole, where);
        // A sequence that reports success in spite of the failure must be on the medium all the same.
        const std::vector<Files> allowed = succeeded ? std::vector{after} : whole;
        for (const Files& state : durableStates(fs, statesPerCrashPoint(param.securities))) {
            if (!HasFailure())
                reopen(state, allowed, where + " and a power cut after it");
        }
    }

    std::cout << "[ states   ] " << param.what << " (" << model() << "): " << points << " operations, "
              << m_counts.checked << " states reopened and checked; " << m_counts.possible
              << " states possible at the cuts\n";
}

INSTANTIATE_TEST_SUITE_P(
    Sequences,
    CrashTest,
    ::testing::Combine(::testing::ValuesIn(crashCases), ::testing::Values(CrashModel::Ext4Ordered, CrashModel::Posix)),
    [](const auto& test) {
        return (std::stringstream() << std::get<0>(test.param) << '_' << std::get<1>(test.param)).str();
    });

} // namespace
