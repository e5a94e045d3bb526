#pragma once

// Readable Qt values in test failure messages.

#include <QDate>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QStringList& texts, std::ostream* out)
{
    *out << '{';
    for (qsizetype i = 0; i < texts.size(); ++i)
        *out << (i ? ", \"" : "\"") << texts[i].toStdString() << '"';
    *out << '}';
}

inline void PrintTo(const QDate& date, std::ostream* out)
{
    *out << date.toString(Qt::ISODate).toStdString();
}

inline void PrintTo(const QUrl& url, std::ostream* out)
{
    *out << url.toString().toStdString();
}
