#pragma once

#include <QStringList>
#include <QVariant>
#include <QVector>
#include <functional>
#include <vector>

namespace store {

using Row = QVector<QVariant>;

// A fully read result: column names as the store returned them and the rows in order.
// Values are normalised to the column's kind (QDate, QTime, bool, double, qlonglong,
// QString) where the column is one of the schema's.
struct ResultSet {
    QStringList columns;
    std::vector<Row> rows;

    // Case-insensitive; the first column of that name when a join returns it twice. -1 if absent.
    int columnIndex(const QString &name) const;
    QVariant value(std::size_t row, const QString &column) const;
};

}  // namespace store

namespace store {

// The rows of a result as a grid or a data control reads them: in chunks, as someone looks
// further, never the whole rest at once. Each chunk remembers where it stands in the store's
// result, so that a chunk dropped to keep memory bounded can be read again when it is looked
// at anew. At most `capacity` rows are held; the chunks used longest ago go first, except
// the chunk of a pinned row (the current row of a data control).
class RowCache {
public:
    // Reads `count` rows of the result from `offset` on; fewer at its end.
    using Reader = std::function<std::vector<Row>(int offset, int count)>;

    static constexpr int kFirstChunk = 100;  // the first chunk read past the opening rows
    static constexpr int kLargestChunk = 200;
    static constexpr int kCapacity = 20000;

    explicit RowCache(int capacity = kCapacity) : m_capacity(capacity) {}

    // The opening rows of a result; `complete` when they are all of it.
    void reset(std::vector<Row> first, bool complete, Reader reader = {});
    void clear() { reset({}, true); }

    int size() const { return m_size; }  // rows known so far, held or dropped
    bool empty() const { return m_size == 0; }
    bool complete() const { return m_complete; }
    int heldRows() const { return m_held; }
    // Where the rows not read yet begin in the store's result.
    int storeEnd() const { return m_chunks.empty() ? 0 : m_chunks.back().storeOffset + m_chunks.back().count; }

    // Reads the next chunk; false when the result had no more rows.
    bool readMore();
    // Reads chunks until `row` is known; false when the result has fewer rows.
    bool reach(int row);
    // Reads every remaining row, a chunk at a time.
    void readAll();

    // A known row; a dropped chunk is read again first.
    const Row &at(int row);
    void set(int row, const Row &value);
    // Rows added or taken away by the owner's own writes.
    void append(const Row &row);
    void erase(int row);
    void pin(int row) { m_pinned = row; }

private:
    struct Chunk {
        int storeOffset = 0;  // where its first row stands in the store's result
        int count = 0;
        bool held = true;
        quint64 lastUse = 0;
        std::vector<Row> rows;
    };
    int chunkOf(int row) const;
    int firstRowOf(int chunk) const { return m_starts[std::size_t(chunk)]; }
    void restart();
    void load(Chunk &chunk);
    void dropOldChunks(int keep);

    int m_capacity;
    Reader m_reader;
    std::vector<Chunk> m_chunks;
    std::vector<int> m_starts;  // the list's index of each chunk's first row
    int m_size = 0;
    int m_held = 0;
    int m_pinned = -1;
    bool m_complete = true;
    quint64 m_clock = 0;
};

}  // namespace store
