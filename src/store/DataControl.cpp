#include "store/DataControl.h"

#include "store/Connection.h"
#include "store/ErrorReporter.h"
#include "store/StatementTables.h"
#include "store/StoreError.h"

namespace store {
namespace {

constexpr int kFirstRows = 50;  // what a refresh reads before anybody looks further

// A grouped statement is worked out whole by the store before its first row comes, and its
// rows are few: it is read in one go, so that counting it or looking at its last rows does
// not run it again.
bool isGrouped(const QString &sql)
{
    return StatementTables::of(sql).grouped;
}

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
}

DataControl::~DataControl() = default;

void DataControl::setRecordSource(const QString &statement)
{
    m_source = statement;
    m_sourceTables = StatementTables::of(statement);
    m_writeTable = m_sourceTables.writeTable();
}

void DataControl::setConnectString(const QString &connectString)
{
    m_connectString = connectString;
    m_conn.reset();
}

void DataControl::setReading(Connection::Reading reading)
{
    m_reading = reading;
    m_conn.reset();
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

void DataControl::refresh()
{
    open(kFirstRows);
}

void DataControl::refreshAll()
{
    open(-1);
}

void DataControl::open(int firstRows)
{
    ensureConnection();
    if (m_model)
        m_model->beginResetModel();
    m_rows.clear();
    m_columns.clear();
    m_newRowShown = false;
    m_editing = false;
    m_changed.clear();
    m_countCache = -1;
    m_open = false;
    m_state = State::Closed;
    m_index = -1;
    try {
        m_translated = m_conn->translate(m_source);
        bool more = false;
        ResultSet rs = m_conn->selectNative(m_translated, {}, isGrouped(m_translated) ? -1 : firstRows, &more);
        m_columns = rs.columns;
        m_rows = std::move(rs.rows);
        m_allFetched = !more;
        m_open = true;
    } catch (...) {
        if (m_model)
            m_model->endResetModel();
        emit currentChanged();
        throw;
    }
    if (m_model)
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
    if (m_allFetched)
        return int(m_rows.size());
    if (m_countCache < 0) {
        const ResultSet rs =
            m_conn->selectNative(QStringLiteral("SELECT COUNT(*) FROM (%1) tempalia_count").arg(m_translated));
        m_countCache = rs.rows.empty() ? 0 : rs.rows.front().value(0).toInt();
    }
    return m_countCache;
}

void DataControl::fetchAll()
{
    if (!m_open || m_allFetched)
        return;
    ResultSet rs = m_conn->selectNative(m_translated);
    const int old = int(m_rows.size());
    const int now = int(rs.rows.size());
    // The first rows are read again with the rest, so the whole list is one consistent read.
    if (m_model && now > old)
        m_model->beginInsertRows({}, old, now - 1);
    m_rows = std::move(rs.rows);
    m_allFetched = true;
    m_countCache = now;
    if (m_model) {
        if (now > old)
            m_model->endInsertRows();
        if (old > 0 && now > 0)
            emit m_model->dataChanged(m_model->index(0, 0),
                                      m_model->index(std::min(old, now) - 1, std::max(0, int(m_columns.size()) - 1)));
    }
    if (m_state == State::Row && m_index >= now)
        setCurrent(State::Eof, -1);
}

bool DataControl::fetchUpTo(int index)
{
    if (index < int(m_rows.size()))
        return true;
    if (m_allFetched)
        return false;
    fetchAll();
    return index < int(m_rows.size());
}

QVariant DataControl::valueAt(int row, int column)
{
    if (row < 0 || column < 0 || column >= m_columns.size() || !fetchUpTo(row))
        return {};
    if (row == m_index && m_state == State::Row)
        return m_buffer.value(column);
    return m_rows[row].value(column);
}

QVariant DataControl::valueAt(int row, const QString &field)
{
    return valueAt(row, fieldIndex(field));
}

int DataControl::absolutePosition() const
{
    switch (m_state) {
    case State::Row:
        return m_index >= 0 ? m_index + 1 : int(m_rows.size()) + 1;
    case State::New:
        return int(m_rows.size()) + 1;
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
        m_buffer = m_rows[index];
    else if (state != State::Row)
        m_buffer = Row(m_columns.size());
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
    setCurrent(State::Row, int(m_rows.size()) - 1);
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
        next = int(m_rows.size());  // a detached or new row sits after the list
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
        prev = int(m_rows.size()) - 1;
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
    if (m_state == State::New && m_newRowShown && index == int(m_rows.size()))
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
        const int r = int(m_rows.size());
        emit m_model->dataChanged(m_model->index(r, i), m_model->index(r, i));
    }
}

void DataControl::setValueAt(int row, int column, const QVariant &value)
{
    if (!(m_state == State::New && m_newRowShown && row == int(m_rows.size())))
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
    const bool show = m_model && m_allFetched;
    if (show)
        m_model->beginInsertRows({}, int(m_rows.size()), int(m_rows.size()));
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
            const int r = int(m_rows.size());
            m_model->beginRemoveRows({}, r, r);
            m_state = State::Eof;
            m_newRowShown = false;
            m_model->endRemoveRows();
        }
        m_newRowShown = false;
        if (m_rows.empty())
            setCurrent(State::Eof, -1);
        else
            setCurrent(State::Row, int(m_rows.size()) - 1);
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
    if (m_allFetched) {
        const int at = int(m_rows.size());
        const bool shown = m_newRowShown;
        m_newRowShown = false;
        if (m_model && !shown)
            m_model->beginInsertRows({}, at, at);
        m_rows.push_back(row);
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
    const Row original = m_index >= 0 ? m_rows[m_index] : m_buffer;
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
        m_rows[m_index] = m_buffer;
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
    const Row original = m_index >= 0 ? m_rows[m_index] : m_buffer;
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
        m_rows.erase(m_rows.begin() + at);
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
    return int(m_control->m_rows.size()) + (pending ? 1 : 0);
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
    if (r == int(m_control->m_rows.size()) && m_control->m_state == DataControl::State::New &&
        m_control->m_newRowShown)
        return m_control->m_buffer.value(index.column());
    if (r >= int(m_control->m_rows.size()))
        return {};
    if (r == m_control->m_index && m_control->m_state == DataControl::State::Row)
        return m_control->m_buffer.value(index.column());
    return m_control->m_rows[r].value(index.column());
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
    return !parent.isValid() && m_control->m_open && !m_control->m_allFetched;
}

void DataControlModel::fetchMore(const QModelIndex &parent)
{
    if (parent.isValid())
        return;
    try {
        m_control->fetchAll();
    } catch (const std::exception &e) {
        reportError(e);
    }
}

}  // namespace store
