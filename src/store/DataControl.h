#pragma once

#include "store/Connection.h"
#include "store/ResultSet.h"
#include "store/SchemaInfo.h"
#include "store/StatementTables.h"

#include <QAbstractTableModel>
#include <QObject>
#include <QSet>
#include <QTimer>
#include <memory>

namespace store {

class DataControlModel;

// The stand-in for a data control (`adc...`): one statement, its rows, one current row.
//
// A refresh on a store that nobody changed since the rows were read keeps them: the
// connection's change marker tells (see Connection::changeMarker), and a statement that
// reads the clock is always run again.
//
// Rows are read lazily: a refresh reads only the first rows of the result; further rows
// are read a chunk at a time when something looks past them (a move, a grid scrolling),
// and recordCount counts with COUNT(*) instead. Reading on past the rows held, the control
// runs the statement once more for the whole rest of its result and leaves it open, on a
// connection of its own that only reads, taking a chunk from it at a time; it is closed at
// the end of the result, at the next refresh, or when nobody read from it for a few seconds
// (an open read holds a snapshot, or on a server a transaction), and a chunk is then read as
// a stretch of the statement run again. The shared connection never holds a read open. The
// rows held are bounded by the cache (RowCache), whatever the size of the result.
//
// Writes go to the "write table" of the statement: the table whose star is selected
// (`CM.*`), else the first table after FROM. Only columns of that table are written,
// through bound values. Updates are optimistic: the row is written only if the store
// still holds it as it was read; otherwise StoreError Conflict (or RowGone) is thrown and
// the row stays in edit with what was typed.
class DataControl : public QObject {
    Q_OBJECT
public:
    explicit DataControl(const QString &name, QObject *parent = nullptr,
                         const QString &connectString = QStringLiteral("DSN=RRHHODBC"));
    ~DataControl() override;

    // Absolute positions off the ends of the rows.
    static constexpr int PosBOF = -2;
    static constexpr int PosEOF = -3;

    void setRecordSource(const QString &statement);
    const QString &recordSource() const { return m_source; }
    void setConnectString(const QString &connectString);
    // How the connection hands over results: Whole for a statement whose result is small
    // and read at once (a budget's groups).
    void setReading(Connection::Reading reading);
    Connection &connection();

    void refresh();
    // A refresh that reads every row of the statement in one go: for a caller that walks
    // the whole result (an export), so the statement runs once and needs no count.
    void refreshAll();
    bool isOpen() const { return m_open; }

    // The result.
    const QStringList &fields() const { return m_columns; }
    int fieldIndex(const QString &name) const;  // case-insensitive, first match; -1 if absent
    // The kind of a field that comes straight from a catalogue column; none for a computed one.
    std::optional<ColumnKind> fieldKind(const QString &name) const { return m_sourceTables.resultKind(name); }
    int recordCount();
    int fetchedCount() const { return m_rows.size(); }
    int heldCount() const { return m_rows.heldRows(); }
    bool allFetched() const { return m_rows.complete(); }
    void fetchAll();
    QVariant valueAt(int row, int column);  // reads further rows as needed
    QVariant valueAt(int row, const QString &field);

    // The current row.
    bool eof() const { return m_state == State::Eof || (m_state != State::New && m_state != State::Row && m_rows.empty()); }
    bool bof() const { return m_state == State::Bof || (m_state != State::New && m_state != State::Row && m_rows.empty()); }
    bool hasCurrentRow() const { return m_state == State::Row || m_state == State::New; }
    int absolutePosition() const;  // 1-based, PosBOF / PosEOF off the ends
    int currentIndex() const { return m_state == State::Row ? m_index : -1; }
    void moveFirst();
    void moveLast();
    void moveNext();
    void movePrevious();
    void moveTo(int index);
    void move0();  // bound controls hand over what was typed; the row stays current

    QVariant value(const QString &field) const;
    void setValue(const QString &field, const QVariant &value);
    void setValueAt(int row, int column, const QVariant &value);  // in-place edit of a grid cell

    void addNew();
    void update();
    void cancelUpdate();
    void deleteCurrent();
    bool isEditing() const { return m_editing; }
    bool isNewRow() const { return m_state == State::New; }
    // The key the store assigned to the last row this control inserted.
    QVariant lastInsertedKey() const { return m_lastInsertedKey; }
    QString writeTable() const;

    QAbstractTableModel *model();

signals:
    void currentChanged();
    void aboutToWrite();  // bound controls hand over what the user typed
    void refreshed();
    void rowsReset();
    void rowChanged(int row);

private:
    enum class State { Closed, Bof, Row, Eof, New };
    friend class DataControlModel;

    void ensureConnection();
    void dropConnections();
    const QString &translated();
    // -1: every row. `markerNow`: the store's change marker if the caller just read it.
    void open(int firstRows, const std::optional<QString> *markerNow = nullptr);
    void reopenHeldRows();
    bool shows(const ResultSet &result, bool complete);  // the model shows exactly this result
    bool fetchUpTo(int index);  // true if the row exists afterwards
    bool fetchNextChunk();
    void showFetchedRows();     // tells the model of rows read since it last heard
    std::vector<Row> readStretch(int offset, int count);
    void openRestFrom(int offset);
    void closeOpenRead();
    void commitPending();
    void setCurrent(State state, int index);
    void insertRow();
    void updateRow();
    const TableInfo *writeTableInfo() const;
    QStringList writableColumns(const TableInfo &t) const;

    QString m_name;
    QString m_connectString;
    Connection::Reading m_reading = Connection::Reading::Cursor;
    std::shared_ptr<Connection> m_conn;
    std::shared_ptr<Connection> m_readerConn;  // the connection of m_openRead
    bool m_readerFailed = false;               // it could not be opened: stretches only
    std::unique_ptr<OpenQuery> m_openRead;     // the rest of the result, from m_openReadFrom on
    int m_openReadFrom = 0;
    QTimer *m_openReadIdle = nullptr;
    QString m_source;
    QString m_translated;
    std::optional<QString> m_readMarker;    // the store's change marker just before the rows held were read
    bool m_open = false;
    QStringList m_columns;
    RowCache m_rows;
    int m_shownRows = 0;  // the rows the model has been told of
    int m_countCache = -1;
    State m_state = State::Closed;
    int m_index = -1;
    Row m_buffer;        // the current row as edited
    bool m_editing = false;
    QSet<int> m_changed;
    QVariant m_lastInsertedKey;
    bool m_newRowShown = false;  // the pending new row is the model's last row
    std::unique_ptr<DataControlModel> m_model;
    QString m_writeTable;
    QString m_writeAlias;
    StatementTables m_sourceTables;
};

// Item model over a data control, for grids and lists.
class DataControlModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit DataControlModel(DataControl *control);
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    bool canFetchMore(const QModelIndex &parent) const override;
    void fetchMore(const QModelIndex &parent) override;
    DataControl *control() const { return m_control; }

private:
    friend class DataControl;
    DataControl *m_control;
};

}  // namespace store
