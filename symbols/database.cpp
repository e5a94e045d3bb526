#include "database.h"

#include <QRegularExpression>

#include <sqlcipher/sqlite3.h>

namespace symbols {

struct Connection
{
    sqlite3* db = nullptr;

    sqlite3* handle() const
    {
        if (!db)
            throw DatabaseError(QStringLiteral("The database is closed."));
        return db;
    }

    void close()
    {
        sqlite3_close(db); // a null handle is a harmless no-op
        db = nullptr;
    }

    ~Connection() { close(); }
};

namespace {

QString engineError(sqlite3* db)
{
    return QString::fromUtf8(sqlite3_errmsg(db));
}

QString quoted(const QString& identifier)
{
    return u'"' + QString(identifier).replace(u'"', QLatin1String("\"\"")) + u'"';
}

// Prepared statement that is finalised on every path.
class Statement
{
public:
    Statement(sqlite3* db, const QString& sql)
        : m_db(db)
    {
        const QByteArray text = sql.toUtf8();
        if (sqlite3_prepare_v2(db, text.constData(), int(text.size()), &m_statement, nullptr) != SQLITE_OK)
            throw DatabaseError(engineError(db));
        if (!m_statement) // only blanks or a comment: nothing to run
            throw DatabaseError(QStringLiteral("The statement is empty."));
    }

    ~Statement() { sqlite3_finalize(m_statement); }

    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    void bind(int index, const QVariant& value)
    {
        int rc = SQLITE_OK;
        switch (value.typeId()) {
        case QMetaType::UnknownType:
            rc = sqlite3_bind_null(m_statement, index);
            break;
        case QMetaType::Bool:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::Long:
        case QMetaType::LongLong:
            rc = sqlite3_bind_int64(m_statement, index, value.toLongLong());
            break;
        case QMetaType::Double:
        case QMetaType::Float:
            rc = sqlite3_bind_double(m_statement, index, value.toDouble());
            break;
        default: {
            // Text, also empty text: a field set to "" holds "", not null.
            const QByteArray text = value.toString().toUtf8();
            rc = sqlite3_bind_text(m_statement, index, text.constData(), int(text.size()), SQLITE_TRANSIENT);
        }
        }
        if (rc != SQLITE_OK)
            throw DatabaseError(engineError(m_db));
    }

    // True while there is a row to read.
    bool step()
    {
        const int rc = sqlite3_step(m_statement);
        if (rc == SQLITE_ROW)
            return true;
        if (rc == SQLITE_DONE)
            return false;
        throw DatabaseError(engineError(m_db));
    }

    int columnCount() const { return sqlite3_column_count(m_statement); }

    QString columnName(int column) const { return QString::fromUtf8(sqlite3_column_name(m_statement, column)); }

    QVariant value(int column) const
    {
        switch (sqlite3_column_type(m_statement, column)) {
        case SQLITE_INTEGER:
            return qint64(sqlite3_column_int64(m_statement, column));
        case SQLITE_FLOAT:
            return sqlite3_column_double(m_statement, column);
        case SQLITE_TEXT:
            return QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column)),
                                     sqlite3_column_bytes(m_statement, column));
        case SQLITE_BLOB:
            return QByteArray(static_cast<const char*>(sqlite3_column_blob(m_statement, column)),
                              sqlite3_column_bytes(m_statement, column));
        default:
            return {};
        }
    }

private:
    sqlite3* m_db;
    sqlite3_stmt* m_statement = nullptr;
};

} // namespace

DatabaseError::DatabaseError(const QString& text)
    : std::runtime_error(text.toStdString())
{}

QString passwordFromConnect(const QString& connect)
{
    static const QRegularExpression pwd(QStringLiteral("(?:^|;)\\s*pwd=([^;]*)"),
                                        QRegularExpression::CaseInsensitiveOption);
    const auto match = pwd.match(connect);
    return match.hasMatch() ? match.captured(1) : QString();
}

// Recordset

Recordset::Recordset(std::shared_ptr<Connection> connection, QString table, bool editable)
    : m_connection(std::move(connection))
    , m_table(std::move(table))
    , m_editable(editable)
{}

void Recordset::moveNext()
{
    if (eof())
        throw DatabaseError(QStringLiteral("No current record."));
    ++m_position;
}

const QVariantList& Recordset::currentRow() const
{
    m_connection->handle();
    if (eof())
        throw DatabaseError(QStringLiteral("No current record."));
    return m_rows[m_position];
}

qsizetype Recordset::positionOf(const QString& name) const
{
    for (qsizetype i = 0; i < m_names.size(); ++i) {
        if (m_names[i].compare(name, Qt::CaseInsensitive) == 0)
            return i;
    }
    throw DatabaseError(QStringLiteral("Item not found in this collection: %1.").arg(name));
}

QVariant Recordset::field(qsizetype position) const
{
    const QVariantList& row = currentRow();
    if (position < 0 || position >= row.size())
        throw DatabaseError(QStringLiteral("Item not found in this collection: field %1.").arg(position));
    return row[position];
}

QVariant Recordset::field(const QString& name) const
{
    return field(positionOf(name));
}

void Recordset::addNew()
{
    m_connection->handle();
    if (m_table.isEmpty())
        throw DatabaseError(QStringLiteral("Rows cannot be added through this recordset."));
    m_pending = Pending::Add;
    m_buffer = QVariantList(m_names.size());
    m_changed = QList<bool>(m_names.size(), false);
}

void Recordset::edit()
{
    if (!m_editable)
        throw DatabaseError(QStringLiteral("Rows cannot be edited through this recordset."));
    m_buffer = currentRow();
    m_changed = QList<bool>(m_names.size(), false);
    m_pending = Pending::Edit;
}

void Recordset::requirePending() const
{
    if (m_pending == Pending::None)
        throw DatabaseError(QStringLiteral("Update or CancelUpdate without AddNew or Edit."));
}

void Recordset::setField(qsizetype position, const QVariant& value)
{
    requirePending();
    if (position < 0 || position >= m_names.size())
        throw DatabaseError(QStringLiteral("Item not found in this collection: field %1.").arg(position));
    m_buffer[position] = value;
    m_changed[position] = true;
}

void Recordset::setField(const QString& name, const QVariant& value)
{
    setField(positionOf(name), value);
}

void Recordset::update()
{
    sqlite3* db = m_connection->handle();
    requirePending();
    QStringList columns;
    QVariantList values;
    for (qsizetype i = 0; i < m_names.size(); ++i) {
        if (m_changed[i]) {
            columns.append(quoted(m_names[i]));
            values.append(m_buffer[i]);
        }
    }

    QString sql;
    switch (m_pending) {
    case Pending::None:
        return; // ruled out above
    case Pending::Add:
        if (columns.isEmpty()) {
            sql = QStringLiteral("insert into %1 default values").arg(quoted(m_table));
        } else {
            QStringList marks(columns.size(), QStringLiteral("?"));
            sql = QStringLiteral("insert into %1 (%2) values (%3)")
                      .arg(quoted(m_table), columns.join(u','), marks.join(u','));
        }
        break;
    case Pending::Edit:
        if (columns.isEmpty()) {
            m_pending = Pending::None;
            return;
        }
        sql =
            QStringLiteral("update %1 set %2=? where rowid=?").arg(quoted(m_table), columns.join(QLatin1String("=?,")));
        values.append(m_rowIds[m_position]);
        break;
    }

    Statement statement(db, sql);
    for (qsizetype i = 0; i < values.size(); ++i)
        statement.bind(int(i + 1), values[i]);
    statement.step();
    if (m_pending == Pending::Edit)
        m_rows[m_position] = m_buffer;
    m_pending = Pending::None;
}

void Recordset::close()
{
    m_rows.clear();
    m_rowIds.clear();
    m_position = 0;
    m_pending = Pending::None;
}

// Database

Database::Database(const QString& fileName, const QString& connect, Mode mode)
    : m_connection(std::make_shared<Connection>())
{
    const int flags = SQLITE_OPEN_READWRITE | (mode == Mode::Create ? SQLITE_OPEN_CREATE : 0);
    const QByteArray path = fileName.toUtf8();
    if (sqlite3_open_v2(path.constData(), &m_connection->db, flags, nullptr) != SQLITE_OK) {
        const QString text = engineError(m_connection->db);
        m_connection->close();
        throw DatabaseError(text);
    }
    const QByteArray password = passwordFromConnect(connect).toUtf8();
    try {
        if (password.isEmpty())
            throw DatabaseError(QStringLiteral("The connect text holds no password."));
        if (sqlite3_key(m_connection->db, password.constData(), int(password.size())) != SQLITE_OK)
            throw DatabaseError(engineError(m_connection->db));
        // Keying only stores the password; the first read decrypts a page and tells whether it fits.
        Statement probe(m_connection->db, QStringLiteral("select count(*) from sqlite_master"));
        probe.step();
    } catch (const DatabaseError&) {
        m_connection->close();
        throw;
    }
}

Database::~Database() = default;

void Database::execute(const QString& sql)
{
    Statement statement(m_connection->handle(), sql);
    while (statement.step()) {
    }
}

Recordset Database::query(const QString& sql)
{
    // Rows added through a query go to the table it reads from.
    static const QRegularExpression from(QStringLiteral("\\bfrom\\s+(\\w+)"),
                                         QRegularExpression::CaseInsensitiveOption);
    Recordset rows(m_connection, from.match(sql).captured(1), false);
    Statement statement(m_connection->handle(), sql);
    for (int column = 0; column < statement.columnCount(); ++column)
        rows.m_names.append(statement.columnName(column));
    while (statement.step()) {
        QVariantList row;
        for (int column = 0; column < statement.columnCount(); ++column)
            row.append(statement.value(column));
        rows.m_rows.append(std::move(row));
    }
    return rows;
}

Recordset Database::openTable(const QString& table)
{
    Recordset rows(m_connection, table, true);
    Statement statement(m_connection->handle(), QStringLiteral("select rowid,* from %1").arg(quoted(table)));
    for (int column = 1; column < statement.columnCount(); ++column)
        rows.m_names.append(statement.columnName(column));
    while (statement.step()) {
        rows.m_rowIds.append(statement.value(0).toLongLong());
        QVariantList row;
        for (int column = 1; column < statement.columnCount(); ++column)
            row.append(statement.value(column));
        rows.m_rows.append(std::move(row));
    }
    return rows;
}

void Database::close()
{
    m_connection->close();
}

} // namespace symbols
