#pragma once

// A small record-oriented layer over the SQLCipher C API: open an encrypted database with a connect text,
// run statements, read rows through a recordset, and add or edit rows through it. No widgets here.
//
// Every failure throws DatabaseError carrying the engine's own message ("file is not a database",
// "near \"s\": syntax error", ...). Windows catch it at the handler and show that text.

#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <stdexcept>

namespace symbols {

class DatabaseError : public std::runtime_error
{
public:
    explicit DatabaseError(const QString& text);

    QString text() const { return QString::fromUtf8(what()); }
};

// The password of a connect text such as ";pwd=secret": the text after "pwd=" (any case) up to the next
// ";" or the end. Empty when the connect text names none.
QString passwordFromConnect(const QString& connect);

struct Connection;

// Rows of one query or table, read when the recordset is opened. The cursor starts on the first row;
// eof() is true past the last one (at once for no rows).
//
// Changing rows: addNew() or edit(), then setField() for the columns to set, then update(). Added rows
// go to the table named after "from" in the query (or the table opened by name) and do not show up in
// this recordset. Only a table opened by name can be edited, because only it knows which row is which.
class Recordset
{
public:
    bool eof() const { return m_position >= m_rows.size(); }

    void moveNext();

    qsizetype recordCount() const { return m_rows.size(); }

    QStringList fieldNames() const { return m_names; }

    // Fields of the current row, by position (from 0) or by column name (any case). Throws at eof.
    QVariant field(qsizetype position) const;
    QVariant field(const QString& name) const;

    // A field as text; a null field reads as empty text.
    QString text(qsizetype position) const { return field(position).toString(); }

    void addNew();
    void edit();
    void setField(qsizetype position, const QVariant& value);
    void setField(const QString& name, const QVariant& value);
    void update();

    void close();

private:
    friend class Database;
    Recordset(std::shared_ptr<Connection> connection, QString table, bool editable);

    enum class Pending
    {
        None,
        Add,
        Edit,
    };

    qsizetype positionOf(const QString& name) const;
    void requirePending() const;
    const QVariantList& currentRow() const;

    std::shared_ptr<Connection> m_connection;
    QString m_table;
    bool m_editable = false;
    QStringList m_names;
    QList<QVariantList> m_rows;
    QList<qint64> m_rowIds; // filled for tables opened by name
    qsizetype m_position = 0;
    Pending m_pending = Pending::None;
    QVariantList m_buffer;
    QList<bool> m_changed;
};

class Database
{
public:
    enum class Mode
    {
        OpenExisting, // the program: a missing file is an error, never created
        Create, // the build's generator only: starts a new, empty file
    };

    // Opens the file and keys it with the connect text's password, then reads once, so that a wrong
    // password or a damaged file fails here rather than at the first query.
    Database(const QString& fileName, const QString& connect, Mode mode = Mode::OpenExisting);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    // Runs a statement that returns no rows, sent exactly as given.
    void execute(const QString& sql);
    // Runs a query, sent exactly as given, and reads its rows.
    Recordset query(const QString& sql);
    // Opens a whole table by its name; its rows can be edited.
    Recordset openTable(const QString& table);

    // Closes the file; recordsets still open fail from now on. Also done by the destructor.
    void close();

private:
    std::shared_ptr<Connection> m_connection;
};

} // namespace symbols
