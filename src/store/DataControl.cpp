#include "store/DataControl.h"

#include "store/Connection.h"
#include "store/ErrorReporter.h"
#include "store/StatementTables.h"
#include "store/SqlTokenizer.h"
#include "store/StoreError.h"

namespace store {
namespace {

constexpr int kFirstRows = 50;  // what a refresh reads before anybody looks further

// The statement limited to one stretch of its result. Both stores take LIMIT and OFFSET after
// the ORDER BY, so the stretch follows the statement's own order.
QString stretchOf(const QString &sql, int offset, int count)
{
    QString s = sql.trimmed();
    while (s.endsWith(QLatin1Char(';')))
        s.chop(1);
    return s + QStringLiteral(" LIMIT %1 OFFSET %2").arg(count).arg(offset);
}

// Whether a statement's result changes with the clock alone (today's date, the time).
bool readsTheClock(const QString &sql)
{
    try {
        for (const SqlToken &t : SqlTokenizer::significant(sql)) {
            if (t.kind == SqlToken::Kind::String && t.value.compare(QLatin1String("now"), Qt::CaseInsensitive) == 0)
                return true;
            for (QStringView word : {u"CURRENT_DATE", u"CURRENT_TIME", u"CURRENT_TIMESTAMP", u"LOCALTIME",
                                     u"LOCALTIMESTAMP", u"NOW"})
                if (t.isWord(word))
                    return true;
        }
    } catch (const StoreError &) {
        return true;  // not read through: taken as changing
    }
    return false;
}

// The statement's result from row `offset` on, to its end.
QString restOf(const QString &sql, int offset, Backend backend)
{
    QString s = sql.trimmed();
    while (s.endsWith(QLatin1Char(';')))
        s.chop(1);
    if (offset <= 0)
        return s;
    return s + (backend == Backend::SQLite ? QStringLiteral(" LIMIT -1 OFFSET %1") : QStringLiteral(" OFFSET %1"))
                   .arg(offset);
}

// How long a read left open waits for its reader before it is closed.
constexpr int kOpenReadIdleMs = 10000;

bool isUnset(const QVariant &v)
{
    return !v.isValid();
}

QString keyCondition(const TableInfo &t)
{
    QStringList parts;
    for (const QString &k : t.key)
        parts << k + QStringLiteral(" = ?");
    return parts.join(QStringLiteral(" AND "));
}

// A row that is no longer there: an hour row a month close has archived meanwhile is told
// apart from one another user deleted.
StoreError rowGone(Connection &conn, const TableInfo &t, const QVariantList &keyValues)
{
    if (t.name.compare(QLatin1String("HORAS"), Qt::CaseInsensitive) == 0) {
        const ResultSet archived = conn.selectNative(
            QStringLiteral("SELECT COUNT(*) FROM HHORAS WHERE %1").arg(keyCondition(t)), keyValues);
        if (!archived.rows.empty() && archived.rows.front().value(0).toInt() > 0)
            return StoreError(StoreError::Kind::RowGone, 3167,
                              QStringLiteral("El registro ya no existe en el mes en curso: un cierre de mes lo pasó "
                                             "al archivo, donde ya no se puede cambiar. No se guardó nada."));
    }
    return StoreError(StoreError::Kind::RowGone, 3167, QStringLiteral("El registro ya no existe: otro usuario lo eliminó."));
}

}  // namespace

DataControl::DataControl(const QString &name, QObject *parent, const QString &connectString)
    : QObject(parent), m_name(name), m_connectString(connectString)
{
    setObjectName(name);
    m_openReadIdle = new QTimer(this);
    m_openReadIdle->setSingleShot(true);
    m_openReadIdle->setInterval(kOpenReadIdleMs);
    connect(m_openReadIdle, &QTimer::timeout, this, &DataControl::closeOpenRead);
}

DataControl::~DataControl() = default;

void DataControl::setRecordSource(const QString &statement)
{
    if (statement == m_source && !m_source.isEmpty())
        return;  // the windows set the same statement again on every activation
    m_source = statement;
    m_translated.clear();
    m_readMarker.reset();  // the rows held were read with another statement
    closeOpenRead();
    m_sourceTables = StatementTables::of(statement);
    m_writeTable = m_sourceTables.writeTable();
}

void DataControl::setConnectString(const QString &connectString)
{
    m_connectString = connectString;
    dropConnections();
    m_translated.clear();  // the new connection may be another backend
}

void DataControl::setReading(Connection::Reading reading)
{
    m_reading = reading;
    dropConnections();
}

// Connections are made again at the next read; the rows held are no longer known current.
void DataControl::dropConnections()
{
    m_conn.reset();
    closeOpenRead();
    m_readerConn.reset();
    m_readerFailed = false;
    m_readMarker.reset();
}

Connection &DataControl::connection()
{
    ensureConnection();
    return *m_conn;
}

void DataControl::ensureConnection()
{
    if (!m_conn)
        m_conn = Connection::shared(m_connectString, m_reading);
}

QString DataControl::writeTable() const
{
    return m_writeTable;
}

const TableInfo *DataControl::writeTableInfo() const
{
    return m_writeTable.isEmpty() ? nullptr : tableInfo(m_writeTable);
}

bool DataControl::shows(const ResultSet &result, bool complete)
{
    if (!m_open || m_newRowShown || result.columns != m_columns || m_rows.complete() != complete ||
        m_shownRows != int(result.rows.size()))
        return false;
    for (int i = 0; i < m_shownRows; ++i)
        if (m_rows.at(i) != result.rows[std::size_t(i)])
            return false;
    return true;
}

const QString &DataControl::translated()
{
    ensureConnection();
    if (m_translated.isEmpty())
        m_translated = m_conn->translate(m_source);
    return m_translated;
}

void DataControl::refresh()
{
    // The store's marker is read once: it tells whether the rows held are still current,
    // and if not, it is the one the read that follows notes.
    std::optional<QString> marker;
    const bool heldRowsKnown = m_open && !m_editing && m_state != State::New && !m_newRowShown && m_readMarker;
    if (heldRowsKnown) {
        try {
            marker = m_conn->changeMarker();
        } catch (const StoreError &) {
            // the statement is read again, and says what is wrong
        }
        if (marker == m_readMarker) {
            reopenHeldRows();
            return;
        }
    }
    open(kFirstRows, heldRowsKnown ? &marker : nullptr);
}

// What a refresh does with the rows it already holds: the first row current, the rest as
// read (the grids keep what they show, and where they were scrolled to).
void DataControl::reopenHeldRows()
{
    m_changed.clear();
    if (m_rows.empty())
        setCurrent(State::Eof, -1);
    else
        setCurrent(State::Row, 0);
    emit refreshed();
}

void DataControl::refreshAll()
{
    open(-1);
}

void DataControl::open(int firstRows, const std::optional<QString> *markerNow)
{
    ensureConnection();
    const bool wasEditing = m_editing;  // the grid shows the row as edited
    m_editing = false;
    m_changed.clear();
    m_countCache = -1;
    ResultSet rs;
    bool more = false;
    m_readMarker.reset();
    closeOpenRead();
    m_readerFailed = false;  // a reader that could not be opened is tried again on a new read
    try {
        translated();
        // Taken before the read: a change committed meanwhile is seen at the next refresh.
        std::optional<QString> marker = markerNow ? *markerNow : m_conn->changeMarker();
        if (marker && readsTheClock(m_translated))
            marker.reset();
        // A grouped statement is worked out whole by the store before its first row comes,
        // and its rows are few: it is read in one go, so that counting it or looking at its
        // last rows does not run it again.
        rs = m_conn->selectNative(m_translated, {}, m_sourceTables.grouped ? -1 : firstRows, &more);
        m_readMarker = marker;
    } catch (...) {
        if (m_model)
            m_model->beginResetModel();
        m_rows.clear();
        m_shownRows = 0;
        m_columns.clear();
        m_newRowShown = false;
        m_open = false;
        m_state = State::Closed;
        m_index = -1;
        if (m_model)
            m_model->endResetModel();
        emit currentChanged();
        throw;
    }
    // A refresh that finds what the grids already show leaves them as they are: nothing is
    // laid out, measured or drawn again (the workspaces refresh on every activation).
    const bool unchanged = !wasEditing && shows(rs, !more);
    if (m_model && !unchanged)
        m_model->beginResetModel();
    m_newRowShown = false;
    m_columns = rs.columns;
    m_rows.reset(std::move(rs.rows), !more, [this](int offset, int count) { return readStretch(offset, count); });
    m_shownRows = m_rows.size();
    m_open = true;
    m_state = State::Closed;
    m_index = -1;
    if (m_model && !unchanged)
        m_model->endResetModel();
    if (m_rows.empty())
        setCurrent(State::Eof, -1);
    else
        setCurrent(State::Row, 0);
    emit refreshed();
}

int DataControl::fieldIndex(const QString &name) const
{
    for (int i = 0; i < m_columns.size(); ++i)
        if (m_columns.at(i).compare(name, Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}

int DataControl::recordCount()
{
    if (!m_open)
        return 0;
    if (m_rows.complete())
        return m_rows.size();
    if (m_countCache < 0) {
        const ResultSet rs =
            m_conn->selectNative(QStringLiteral("SELECT COUNT(*) FROM (%1) tempalia_count").arg(m_translated));
        m_countCache = rs.rows.empty() ? 0 : rs.rows.front().value(0).toInt();
    }
    return m_countCache;
}

std::vector<Row> DataControl::readStretch(int offset, int count)
{
    // Reading on past the rows known: from the read left open for the rest of the result.
    // Rows read again (a chunk the cache dropped) are a stretch of the statement run again.
    if (offset >= m_rows.storeEnd() && !m_readerFailed) {
        try {
            if (!m_openRead || m_openReadFrom + m_openRead->position() != offset)
                openRestFrom(offset);
            std::vector<Row> rows = m_openRead->next(count);
            if (m_openRead->atEnd())
                closeOpenRead();
            else
                m_openReadIdle->start();
            return rows;
        } catch (const StoreError &) {
            closeOpenRead();  // the stretch is read as below, on a connection that mends itself
        }
    }
    return m_conn->selectNative(stretchOf(m_translated, offset, count)).rows;
}

void DataControl::openRestFrom(int offset)
{
    closeOpenRead();
    if (!m_readerConn) {
        try {
            m_readerConn = Connection::open(m_connectString + QStringLiteral(";Mode=Read"), m_reading);
        } catch (const StoreError &) {
            m_readerFailed = true;
            throw;
        }
    }
    m_openRead = std::make_unique<OpenQuery>(m_readerConn, restOf(m_translated, offset, m_readerConn->backend()));
    m_openReadFrom = offset;
}

void DataControl::closeOpenRead()
{
    m_openRead.reset();
    if (m_openReadIdle)
        m_openReadIdle->stop();
}

void DataControl::showFetchedRows()
{
    const int now = m_rows.size();
    if (now <= m_shownRows) {
        m_shownRows = now;
        return;
    }
    // A new row is shown only once the whole result is read, so nothing sits after these.
    if (m_model)
        m_model->beginInsertRows({}, m_shownRows, now - 1);
    m_shownRows = now;
    if (m_model)
        m_model->endInsertRows();
}

bool DataControl::fetchNextChunk()
{
    if (!m_open)
        return false;
    const bool read = m_rows.readMore();
    showFetchedRows();
    return read;
}

void DataControl::fetchAll()
{
    if (!m_open || m_rows.complete())
        return;
    m_rows.readAll();
    showFetchedRows();
    m_countCache = m_rows.size();
}

bool DataControl::fetchUpTo(int index)
{
    if (index < m_rows.size())
        return true;
    if (m_rows.complete())
        return false;
    const bool there = m_rows.reach(index);
    showFetchedRows();
    return there;
}

QVariant DataControl::valueAt(int row, int column)
{
    if (row < 0 || column < 0 || column >= m_columns.size() || !fetchUpTo(row))
        return {};
    if (row == m_index && m_state == State::Row)
        return m_buffer.value(column);
    return m_rows.at(row).value(column);
}

QVariant DataControl::valueAt(int row, const QString &field)
{
    return valueAt(row, fieldIndex(field));
}

int DataControl::absolutePosition() const
{
    switch (m_state) {
    case State::Row:
        return m_index >= 0 ? m_index + 1 : m_rows.size() + 1;
    case State::New:
        return m_rows.size() + 1;
    case State::Bof:
        return PosBOF;
    case State::Eof:
        return PosEOF;
    case State::Closed:
        break;
    }
    return -1;
}

void DataControl::setCurrent(State state, int index)
{
    m_state = state;
    m_index = index;
    m_editing = false;
    m_changed.clear();
    if (state == State::Row && index >= 0)
        m_buffer = m_rows.at(index);
    else if (state != State::Row)
        m_buffer = Row(m_columns.size());
    m_rows.pin(state == State::Row ? index : -1);
    emit currentChanged();
}

void DataControl::commitPending()
{
    if (m_state == State::Row || m_state == State::New) {
        emit aboutToWrite();
        if (m_editing)
            update();
    }
}

void DataControl::moveFirst()
{
    commitPending();
    if (!fetchUpTo(0))
        throw StoreError::noCurrentRow();
    setCurrent(State::Row, 0);
}

void DataControl::moveLast()
{
    commitPending();
    fetchAll();
    if (m_rows.empty())
        throw StoreError::noCurrentRow();
    setCurrent(State::Row, m_rows.size() - 1);
}

void DataControl::moveNext()
{
    if (m_state == State::Eof || m_state == State::Closed)
        throw StoreError::noCurrentRow();
    commitPending();
    int next = 0;
    if (m_state == State::Row && m_index >= 0)
        next = m_index + 1;
    else if (m_state == State::Row || m_state == State::New)
        next = m_rows.size();  // a detached or new row sits after the list
    if (fetchUpTo(next))
        setCurrent(State::Row, next);
    else
        setCurrent(State::Eof, -1);
}

void DataControl::movePrevious()
{
    if (m_state == State::Bof || m_state == State::Closed)
        throw StoreError::noCurrentRow();
    commitPending();
    int prev = -1;
    if (m_state == State::Row && m_index >= 0)
        prev = m_index - 1;
    else {
        fetchAll();
        prev = m_rows.size() - 1;
    }
    if (prev >= 0)
        setCurrent(State::Row, prev);
    else
        setCurrent(State::Bof, -1);
}

void DataControl::moveTo(int index)
{
    if (m_state == State::Row && index == m_index)
        return;
    if (m_state == State::New && m_newRowShown && index == m_rows.size())
        return;  // the pending new row, as a grid shows it
    commitPending();
    if (index < 0 || !fetchUpTo(index))
        throw StoreError::noCurrentRow();
    setCurrent(State::Row, index);
}

void DataControl::move0()
{
    if (!hasCurrentRow())
        throw StoreError::noCurrentRow();
    emit aboutToWrite();
}

QVariant DataControl::value(const QString &field) const
{
    if (!hasCurrentRow())
        throw StoreError::noCurrentRow();
    const int i = fieldIndex(field);
    if (i < 0)
        throw StoreError(StoreError::Kind::Store, 3265,
                         QStringLiteral("No se encontró el campo '%1' en la colección.").arg(field));
    return m_buffer.value(i);
}

void DataControl::setValue(const QString &field, const QVariant &value)
{
    if (!hasCurrentRow())
        throw StoreError::noCurrentRow();
    const int i = fieldIndex(field);
    if (i < 0)
        throw StoreError(StoreError::Kind::Store, 3265,
                         QStringLiteral("No se encontró el campo '%1' en la colección.").arg(field));
    if (m_buffer.size() < m_columns.size())
        m_buffer.resize(m_columns.size());
    m_buffer[i] = value;
    m_changed.insert(i);
    m_editing = true;
    if (m_model && m_state == State::Row && m_index >= 0)
        emit m_model->dataChanged(m_model->index(m_index, i), m_model->index(m_index, i));
    else if (m_model && m_state == State::New && m_newRowShown) {
        const int r = m_rows.size();
        emit m_model->dataChanged(m_model->index(r, i), m_model->index(r, i));
    }
}

void DataControl::setValueAt(int row, int column, const QVariant &value)
{
    if (!(m_state == State::New && m_newRowShown && row == m_rows.size()))
        moveTo(row);
    setValue(m_columns.value(column), value);
}

void DataControl::addNew()
{
    if (!m_open)
        throw StoreError(StoreError::Kind::Store, 3704,
                         QStringLiteral("La operación no se permite si el objeto está cerrado."));
    commitPending();
    // A grid shows the new row after the others, where the user types it, as long as the
    // whole list has been read (otherwise it would sit among rows not read yet).
    const bool show = m_model && m_rows.complete();
    if (show)
        m_model->beginInsertRows({}, m_rows.size(), m_rows.size());
    m_state = State::New;
    m_index = -1;
    m_buffer = Row(m_columns.size());
    m_changed.clear();
    m_editing = true;  // a new row is written by the next update even if nothing was typed
    m_newRowShown = show;
    if (show)
        m_model->endInsertRows();
    emit currentChanged();
}

void DataControl::cancelUpdate()
{
    if (m_state == State::New) {
        if (m_newRowShown && m_model) {
            const int r = m_rows.size();
            m_model->beginRemoveRows({}, r, r);
            m_state = State::Eof;
            m_newRowShown = false;
            m_model->endRemoveRows();
        }
        m_newRowShown = false;
        if (m_rows.empty())
            setCurrent(State::Eof, -1);
        else
            setCurrent(State::Row, m_rows.size() - 1);
        return;
    }
    if (m_state == State::Row && m_index >= 0)
        setCurrent(State::Row, m_index);
    else {
        m_editing = false;
        m_changed.clear();
        emit currentChanged();
    }
}

QStringList DataControl::writableColumns(const TableInfo &t) const
{
    QStringList cols;
    for (const QString &c : t.columns)
        if (fieldIndex(c) >= 0)
            cols << c;
    return cols;
}

void DataControl::update()
{
    if (!hasCurrentRow())
        throw StoreError::noCurrentRow();
    emit aboutToWrite();
    if (!m_editing)
        return;
    if (m_state == State::New)
        insertRow();
    else
        updateRow();
}

void DataControl::insertRow()
{
    const TableInfo *t = writeTableInfo();
    if (!t)
        throw StoreError(StoreError::Kind::Store, 3251,
                         QStringLiteral("La sentencia \"%1\" no permite agregar registros.").arg(m_source));
    QStringList cols;
    QStringList marks;
    QVariantList values;
    for (const QString &c : writableColumns(*t)) {
        if (t->storeAssignsKey && t->key.first().compare(c, Qt::CaseInsensitive) == 0)
            continue;
        const QVariant v = m_buffer.value(fieldIndex(c));
        if (isUnset(v))
            continue;
        const ColumnKind kind = columnKind(t->name, c).value_or(ColumnKind::Text);
        const QVariant converted = convertForWrite(kind, v, c);
        if (converted.isNull() && kind != ColumnKind::YesNo)
            continue;
        cols << c;
        marks << QStringLiteral("?");
        values << converted;
    }
    QString sql = QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)")
                      .arg(t->name, cols.join(QStringLiteral(", ")), marks.join(QStringLiteral(", ")));
    if (cols.isEmpty())
        sql = QStringLiteral("INSERT INTO %1 DEFAULT VALUES").arg(t->name);
    QVariantList key;
    if (t->storeAssignsKey) {
        if (m_conn->backend() == Backend::PostgreSQL) {
            const ResultSet rs = m_conn->selectNative(sql + QStringLiteral(" RETURNING ") + t->key.first(), values);
            key << (rs.rows.empty() ? QVariant() : rs.rows.front().value(0));
        } else {
            m_conn->executeNative(sql, values);
            const ResultSet rs = m_conn->selectNative(QStringLiteral("SELECT last_insert_rowid()"));
            key << (rs.rows.empty() ? QVariant() : rs.rows.front().value(0));
        }
        key[0] = key[0].toLongLong();
    } else {
        m_conn->executeNative(sql, values);
        for (const QString &k : t->key)
            key << convertForWrite(columnKind(t->name, k).value_or(ColumnKind::Text), m_buffer.value(fieldIndex(k)), k);
    }
    m_lastInsertedKey = key.value(0);

    // Read the stored row back, so the row shows what the store holds (defaults included).
    const ResultSet stored = m_conn->selectNative(
        QStringLiteral("SELECT * FROM %1 WHERE %2").arg(t->name, keyCondition(*t)), key);
    Row row(m_columns.size());
    for (int i = 0; i < m_columns.size(); ++i) {
        const int s = stored.columnIndex(m_columns.at(i));
        if (s >= 0 && !stored.rows.empty() && t->columns.contains(m_columns.at(i), Qt::CaseInsensitive))
            row[i] = stored.rows.front().value(s);
        else
            row[i] = m_buffer.value(i);
    }
    if (m_countCache >= 0)
        ++m_countCache;
    if (m_rows.complete()) {
        const int at = m_rows.size();
        const bool shown = m_newRowShown;
        m_newRowShown = false;
        if (m_model && !shown)
            m_model->beginInsertRows({}, at, at);
        m_rows.append(row);
        m_shownRows = m_rows.size();
        if (m_model && !shown)
            m_model->endInsertRows();
        if (m_model && shown)
            emit m_model->dataChanged(m_model->index(at, 0),
                                      m_model->index(at, std::max(0, int(m_columns.size()) - 1)));
        m_state = State::Row;
        m_index = at;
    } else {
        m_state = State::Row;
        m_index = -1;  // after the rows read so far; a refresh puts it in its place
    }
    m_buffer = row;
    m_editing = false;
    m_changed.clear();
    emit currentChanged();
}

void DataControl::updateRow()
{
    const TableInfo *t = writeTableInfo();
    if (!t)
        throw StoreError(StoreError::Kind::Store, 3251,
                         QStringLiteral("La sentencia \"%1\" no permite modificar registros.").arg(m_source));
    const Row original = m_index >= 0 ? m_rows.at(m_index) : m_buffer;
    QStringList sets;
    QVariantList setValues;
    QStringList checks;
    QVariantList checkValues;
    for (const QString &c : writableColumns(*t)) {
        const int i = fieldIndex(c);
        if (!m_changed.contains(i))
            continue;
        const ColumnKind kind = columnKind(t->name, c).value_or(ColumnKind::Text);
        const QVariant v = convertForWrite(kind, m_buffer.value(i), c);
        sets << c + QStringLiteral(" = ?");
        setValues << v;
        // Optimistic lock on the columns being written: each must still hold what was read.
        const QVariant was = original.value(i);
        if (was.isNull() || !was.isValid()) {
            checks << c + QStringLiteral(" IS NULL");
        } else if (kind == ColumnKind::Decimal) {
            checks << QStringLiteral("ABS(%1 - ?) < 0.000001").arg(c);
            checkValues << was.toDouble();
        } else {
            checks << c + QStringLiteral(" = ?");
            checkValues << was;
        }
    }
    if (sets.isEmpty()) {
        m_editing = false;
        m_changed.clear();
        return;
    }
    QVariantList keyValues;
    for (const QString &k : t->key) {
        const int i = fieldIndex(k);
        if (i < 0)
            throw StoreError(StoreError::Kind::Store, 3251,
                             QStringLiteral("No se puede modificar: la sentencia no lee la clave %1.").arg(k));
        keyValues << original.value(i);
    }
    QString sql = QStringLiteral("UPDATE %1 SET %2 WHERE %3")
                      .arg(t->name, sets.join(QStringLiteral(", ")), keyCondition(*t));
    if (!checks.isEmpty())
        sql += QStringLiteral(" AND ") + checks.join(QStringLiteral(" AND "));
    const int affected = m_conn->executeNative(sql, setValues + keyValues + checkValues);
    if (affected == 0) {
        const ResultSet still = m_conn->selectNative(
            QStringLiteral("SELECT COUNT(*) FROM %1 WHERE %2").arg(t->name, keyCondition(*t)), keyValues);
        if (still.rows.empty() || still.rows.front().value(0).toInt() == 0)
            throw rowGone(*m_conn, *t, keyValues);
        throw StoreError::changedSinceRead();
    }
    // What is now stored, in its kind.
    for (const QString &c : writableColumns(*t)) {
        const int i = fieldIndex(c);
        if (m_changed.contains(i))
            m_buffer[i] = normalize(columnKind(t->name, c).value_or(ColumnKind::Text),
                                    convertForWrite(columnKind(t->name, c).value_or(ColumnKind::Text), m_buffer.value(i), c));
    }
    if (m_index >= 0) {
        m_rows.set(m_index, m_buffer);
        if (m_model)
            emit m_model->dataChanged(m_model->index(m_index, 0), m_model->index(m_index, m_columns.size() - 1));
    }
    m_editing = false;
    m_changed.clear();
}

void DataControl::deleteCurrent()
{
    if (m_state == State::New) {
        cancelUpdate();
        return;
    }
    if (m_state != State::Row)
        throw StoreError::noCurrentRow();
    const TableInfo *t = writeTableInfo();
    if (!t)
        throw StoreError(StoreError::Kind::Store, 3251,
                         QStringLiteral("La sentencia \"%1\" no permite eliminar registros.").arg(m_source));
    const Row original = m_index >= 0 ? m_rows.at(m_index) : m_buffer;
    QVariantList keyValues;
    for (const QString &k : t->key)
        keyValues << original.value(fieldIndex(k));
    const int affected = m_conn->executeNative(
        QStringLiteral("DELETE FROM %1 WHERE %2").arg(t->name, keyCondition(*t)), keyValues);
    if (affected == 0)
        throw rowGone(*m_conn, *t, keyValues);
    if (m_countCache > 0)
        --m_countCache;
    if (m_index >= 0) {
        const int at = m_index;
        if (m_model)
            m_model->beginRemoveRows({}, at, at);
        m_rows.erase(at);
        m_shownRows = m_rows.size();
        if (m_model)
            m_model->endRemoveRows();
        if (fetchUpTo(at))
            setCurrent(State::Row, at);
        else
            setCurrent(State::Eof, -1);
    } else {
        setCurrent(State::Eof, -1);
    }
}

QAbstractTableModel *DataControl::model()
{
    if (!m_model)
        m_model = std::make_unique<DataControlModel>(this);
    return m_model.get();
}

// ---------------------------------------------------------------------------------------

DataControlModel::DataControlModel(DataControl *control) : m_control(control) {}

int DataControlModel::rowCount(const QModelIndex &parent) const
{
    if (parent.isValid())
        return 0;
    const bool pending = m_control->m_state == DataControl::State::New && m_control->m_newRowShown;
    return m_control->m_shownRows + (pending ? 1 : 0);
}

int DataControlModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_control->m_columns.size());
}

QVariant DataControlModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::EditRole))
        return {};
    const int r = index.row();
    if (r == m_control->m_shownRows && m_control->m_state == DataControl::State::New &&
        m_control->m_newRowShown)
        return m_control->m_buffer.value(index.column());
    if (r >= m_control->m_shownRows)
        return {};
    if (r == m_control->m_index && m_control->m_state == DataControl::State::Row)
        return m_control->m_buffer.value(index.column());
    try {
        return m_control->m_rows.at(r).value(index.column());
    } catch (const std::exception &e) {
        // A dropped chunk could not be read again: the cell stays blank and the user is told.
        reportError(e);
        return {};
    }
}

bool DataControlModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!index.isValid() || role != Qt::EditRole)
        return false;
    try {
        m_control->setValueAt(index.row(), index.column(), value);
        return true;
    } catch (const std::exception &e) {
        reportError(e);
        return false;
    }
}

Qt::ItemFlags DataControlModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsEditable;
}

QVariant DataControlModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role == Qt::DisplayRole && orientation == Qt::Horizontal)
        return m_control->m_columns.value(section);
    return QAbstractTableModel::headerData(section, orientation, role);
}

bool DataControlModel::canFetchMore(const QModelIndex &parent) const
{
    return !parent.isValid() && m_control->m_open && !m_control->m_rows.complete();
}

void DataControlModel::fetchMore(const QModelIndex &parent)
{
    if (parent.isValid())
        return;
    try {
        m_control->fetchNextChunk();
    } catch (const std::exception &e) {
        reportError(e);
    }
}

}  // namespace store
