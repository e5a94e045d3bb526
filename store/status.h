#pragma once

#include <QString>

namespace store {

// What went wrong, so that a caller can tell a refusal from damage or a busy folder without parsing
// text. The text names the file or the argument concerned and is meant for a person.
enum class ErrorCode
{
    None,
    InvalidArgument, // a symbol, name, date, value or periodicity the folder cannot hold
    NotOpen, // no folder is open, or the object was closed
    NoSecurity, // no security is selected
    NotFound, // no security, bar or folder of that key
    AlreadyExists, // a security with that symbol exists already
    NoMoreData, // the end of an enumeration was passed
    Damaged, // a file of the folder is not what the format says; nothing was changed
    Io, // the file system refused an operation; nothing was changed
    Busy, // another writer holds the folder
    Unsupported, // a security this program reads but does not change (intraday data)
};

// The result of every operation of the data component: ok, or an error code with a text.
class [[nodiscard]] Status
{
public:
    Status() = default;

    static Status error(ErrorCode code, const QString& text) { return Status(code, text); }

    bool ok() const { return m_code == ErrorCode::None; }

    ErrorCode code() const { return m_code; }

    const QString& text() const { return m_text; }

private:
    Status(ErrorCode code, const QString& text)
        : m_code(code)
        , m_text(text)
    {}

    ErrorCode m_code = ErrorCode::None;
    QString m_text;
};

} // namespace store
