#include "store/ResultSet.h"

#include <algorithm>

namespace store {

int ResultSet::columnIndex(const QString &name) const
{
    for (int i = 0; i < columns.size(); ++i)
        if (columns.at(i).compare(name, Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}

QVariant ResultSet::value(std::size_t row, const QString &column) const
{
    const int c = columnIndex(column);
    if (c < 0 || row >= rows.size())
        return {};
    return rows[row].value(c);
}

}  // namespace store

namespace store {

void RowCache::reset(std::vector<Row> first, bool complete, Reader reader)
{
    m_chunks.clear();
    m_reader = std::move(reader);
    m_complete = complete || !m_reader;
    m_pinned = -1;
    if (!first.empty()) {
        Chunk c;
        c.count = int(first.size());
        c.rows = std::move(first);
        c.lastUse = ++m_clock;
        m_chunks.push_back(std::move(c));
    }
    restart();
}

void RowCache::restart()
{
    m_starts.clear();
    m_size = 0;
    m_held = 0;
    for (const Chunk &c : m_chunks) {
        m_starts.push_back(m_size);
        m_size += c.count;
        m_held += c.held ? c.count : 0;
    }
}

int RowCache::chunkOf(int row) const
{
    const auto it = std::upper_bound(m_starts.begin(), m_starts.end(), row);
    return int(it - m_starts.begin()) - 1;
}

bool RowCache::readMore()
{
    if (m_complete)
        return false;
    int offset = 0;
    int wanted = kFirstChunk;
    if (!m_chunks.empty()) {
        const Chunk &last = m_chunks.back();
        offset = last.storeOffset + last.count;
        // Each chunk twice the one before, so that a long scroll reads the result in few
        // statements, up to a size one page step can read without the screen stalling.
        wanted = std::clamp(last.count * 2, kFirstChunk, kLargestChunk);
    }
    std::vector<Row> rows = m_reader(offset, wanted);
    if (int(rows.size()) < wanted)
        m_complete = true;
    if (rows.empty())
        return false;
    Chunk c;
    c.storeOffset = offset;
    c.count = int(rows.size());
    c.rows = std::move(rows);
    c.lastUse = ++m_clock;
    m_starts.push_back(m_size);
    m_size += c.count;
    m_held += c.count;
    m_chunks.push_back(std::move(c));
    dropOldChunks(int(m_chunks.size()) - 1);
    return true;
}

bool RowCache::reach(int row)
{
    while (row >= m_size)
        if (!readMore())
            return row < m_size;
    return row >= 0;
}

void RowCache::readAll()
{
    while (readMore()) {
    }
}

void RowCache::load(Chunk &chunk)
{
    chunk.lastUse = ++m_clock;
    if (chunk.held)
        return;
    std::vector<Row> rows = m_reader(chunk.storeOffset, chunk.count);
    // The store may hold fewer rows there now; what it no longer has stays blank.
    rows.resize(std::size_t(chunk.count));
    chunk.rows = std::move(rows);
    chunk.held = true;
    m_held += chunk.count;
    dropOldChunks(int(&chunk - m_chunks.data()));
}

const Row &RowCache::at(int row)
{
    const int c = chunkOf(row);
    Chunk &chunk = m_chunks[std::size_t(c)];
    load(chunk);
    return chunk.rows[std::size_t(row - firstRowOf(c))];
}

void RowCache::set(int row, const Row &value)
{
    const int c = chunkOf(row);
    Chunk &chunk = m_chunks[std::size_t(c)];
    load(chunk);
    chunk.rows[std::size_t(row - firstRowOf(c))] = value;
}

void RowCache::append(const Row &row)
{
    if (m_chunks.empty() || !m_chunks.back().held) {
        Chunk c;
        if (!m_chunks.empty())
            c.storeOffset = m_chunks.back().storeOffset + m_chunks.back().count;
        c.count = 0;
        m_chunks.push_back(std::move(c));
        m_starts.push_back(m_size);
    }
    Chunk &last = m_chunks.back();
    last.rows.push_back(row);
    ++last.count;
    last.lastUse = ++m_clock;
    ++m_size;
    ++m_held;
}

void RowCache::erase(int row)
{
    const int c = chunkOf(row);
    Chunk &chunk = m_chunks[std::size_t(c)];
    load(chunk);
    chunk.rows.erase(chunk.rows.begin() + (row - firstRowOf(c)));
    --chunk.count;
    // The store no longer has the row: what stood after it moved up by one.
    for (std::size_t i = std::size_t(c) + 1; i < m_chunks.size(); ++i)
        --m_chunks[i].storeOffset;
    if (chunk.count == 0)
        m_chunks.erase(m_chunks.begin() + c);
    if (m_pinned > row)
        --m_pinned;
    restart();
}

void RowCache::dropOldChunks(int keep)
{
    const int pinned = m_pinned >= 0 && m_pinned < m_size ? chunkOf(m_pinned) : -1;
    while (m_held > m_capacity) {
        Chunk *oldest = nullptr;
        for (std::size_t i = 0; i < m_chunks.size(); ++i) {
            Chunk &c = m_chunks[i];
            if (c.held && int(i) != keep && int(i) != pinned && (!oldest || c.lastUse < oldest->lastUse))
                oldest = &c;
        }
        if (!oldest)
            return;
        oldest->held = false;
        m_held -= oldest->count;
        std::vector<Row>().swap(oldest->rows);
    }
}

}  // namespace store
