#pragma once

#include <QString>

#include <functional>
#include <future>
#include <vector>

namespace convert {

// A file or security that was not converted, and why. The others are converted all the same.
struct FileProblem
{
    QString file; // the CSV file's name
    qint64 line = 0; // 1-based; 0 when it concerns the whole file
    QString text;

    // "FILE, line N: text" or "FILE: text".
    QString message() const
    {
        return line > 0 ? QStringLiteral("%1, line %2: %3").arg(file).arg(line).arg(text)
                        : QStringLiteral("%1: %2").arg(file, text);
    }
};

// What a run did, for the window's summary and the command line's last line.
struct ConversionReport
{
    int total = 0; // securities or files found
    int converted = 0;
    qint64 bars = 0; // bars written
    std::vector<FileProblem> problems;
    bool cancelled = false;

    // "3 of 4 converted, 12 bars, 1 with problems".
    QString summary() const
    {
        QString text = QStringLiteral("%1 of %2 converted, %3 bars").arg(converted).arg(total).arg(bars);
        if (!problems.empty())
            text += QStringLiteral(", %1 with problems").arg(problems.size());
        if (cancelled)
            text += QStringLiteral(", cancelled");
        return text;
    }
};

// How the conversion starts its work on other threads: on a thread of its own when the system gives
// one, otherwise at the point the result is needed, so that a system out of threads converts slower
// instead of failing.
inline constexpr auto anotherThread = std::launch::async | std::launch::deferred;

// Called after each security or file with the number handled so far, the number in all and the file's
// name; returning false stops the run after that file (what has been converted stays).
using Progress = std::function<bool(int done, int total, const QString& file)>;

} // namespace convert
