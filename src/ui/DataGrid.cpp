#include "ui/DataGrid.h"

#include <QApplication>
#include <QCache>
#include <QLineEdit>
#include <QPainter>
#include <QStaticText>
#include <QStyledItemDelegate>

#include "store/DataControl.h"
#include "store/ErrorReporter.h"
#include "store/SchemaInfo.h"
#include "ui/Masks.h"

#include <QHeaderView>
#include <QLabel>
#include <QTableView>
#include <QVBoxLayout>

namespace ui {

GridColumn column(const QString &heading, const QString &field, const QString &mask)
{
    GridColumn c;
    c.heading = heading;
    c.field = field;
    c.mask = mask;
    return c;
}

// The grid's columns over the data control's model: picks, orders, formats.
class DataGridModel : public QAbstractTableModel {
public:
    explicit DataGridModel(QObject *parent) : QAbstractTableModel(parent) {}

    void setSource(store::DataControl *source)
    {
        // Bound again to the same control: the rows and columns already follow it.
        if (source && source == m_source && m_inner == source->model() && !m_connections.isEmpty())
            return;
        beginResetModel();
        for (const auto &c : m_connections)
            disconnect(c);
        m_connections.clear();
        m_source = source;
        m_inner = source ? source->model() : nullptr;
        if (m_inner) {
            m_connections << connect(m_inner, &QAbstractItemModel::modelAboutToBeReset, this,
                                     [this] { beginResetModel(); });
            m_connections << connect(m_inner, &QAbstractItemModel::modelReset, this, [this] {
                resolve();
                endResetModel();
            });
            m_connections << connect(m_inner, &QAbstractItemModel::rowsAboutToBeInserted, this,
                                     [this](const QModelIndex &, int a, int b) { beginInsertRows({}, a, b); });
            m_connections << connect(m_inner, &QAbstractItemModel::rowsInserted, this, [this] { endInsertRows(); });
            m_connections << connect(m_inner, &QAbstractItemModel::rowsAboutToBeRemoved, this,
                                     [this](const QModelIndex &, int a, int b) { beginRemoveRows({}, a, b); });
            m_connections << connect(m_inner, &QAbstractItemModel::rowsRemoved, this, [this] { endRemoveRows(); });
            m_connections << connect(m_inner, &QAbstractItemModel::dataChanged, this,
                                     [this](const QModelIndex &a, const QModelIndex &b) {
                                         emit dataChanged(index(a.row(), 0),
                                                          index(b.row(), std::max(0, columnCount() - 1)));
                                     });
        }
        resolve();
        endResetModel();
    }

    void setColumns(const QList<GridColumn> &columns)
    {
        if (columns == m_columns)
            return;
        beginResetModel();
        m_columns = columns;
        resolve();
        endResetModel();
    }

    // Which result column each grid column shows, and its kind, worked out once per result
    // rather than for every cell drawn.
    void resolve()
    {
        m_sourceColumn.clear();
        m_kind.clear();
        for (const GridColumn &c : m_columns) {
            int col = -1;
            if (m_source) {
                if (!c.field.isEmpty())
                    col = m_source->fieldIndex(c.field);
                else if (c.position >= 0 && c.position < m_source->fields().size())
                    col = c.position;
            }
            m_sourceColumn << col;
            m_kind << (col >= 0 ? m_source->fieldKind(m_source->fields().value(col)) : std::nullopt);
        }
    }

    int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() || !m_inner ? 0 : m_inner->rowCount();
    }
    int columnCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : int(m_columns.size());
    }

    QString text(int row, int column) const
    {
        const int src = m_sourceColumn.value(column, -1);
        if (!m_inner || src < 0)
            return {};
        const QVariant v = m_inner->data(m_inner->index(row, src), Qt::DisplayRole);
        const auto kind = m_kind.value(column);
        if (kind == store::ColumnKind::YesNo)
            return yesNoText(store::normalize(store::ColumnKind::YesNo, v).toBool());
        if (v.typeId() == QMetaType::Bool)
            return yesNoText(v.toBool());
        return formatValue(v, m_columns.at(column).mask);
    }

    QVariant data(const QModelIndex &index, int role) const override
    {
        if (!index.isValid())
            return {};
        if (role == Qt::DisplayRole || role == Qt::EditRole)
            return text(index.row(), index.column());
        if (role == Qt::TextAlignmentRole) {
            const auto kind = m_kind.value(index.column());
            if (kind == store::ColumnKind::Decimal || kind == store::ColumnKind::Integer ||
                maskKind(m_columns.at(index.column()).mask) == MaskKind::Number)
                return int(Qt::AlignRight | Qt::AlignVCenter);
        }
        return {};
    }

    bool setData(const QModelIndex &index, const QVariant &value, int role) override
    {
        if (!index.isValid() || role != Qt::EditRole || !m_editable)
            return false;
        const int src = m_sourceColumn.value(index.column(), -1);
        if (src < 0)
            return false;
        const QString mask = m_columns.at(index.column()).mask;
        QVariant v = value;
        const QString name = m_source->fields().value(src);
        if (m_source->fieldKind(name) == store::ColumnKind::YesNo) {
            const QString t = value.toString().trimmed().toLower();
            v = t == QLatin1String("si") || t == QLatin1String("sí") || t == QLatin1String("1") ||
                t == QLatin1String("true");
        } else if (!mask.isEmpty()) {
            bool ok = false;
            const QVariant parsed = parseValue(value.toString(), mask, &ok);
            if (ok)
                v = parsed;
        }
        return m_inner->setData(m_inner->index(index.row(), src), v, Qt::EditRole);
    }

    Qt::ItemFlags flags(const QModelIndex &index) const override
    {
        if (!index.isValid())
            return Qt::NoItemFlags;
        Qt::ItemFlags f = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
        if (m_editable && m_sourceColumn.value(index.column(), -1) >= 0)
            f |= Qt::ItemIsEditable;
        return f;
    }

    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section < m_columns.size())
            return m_columns.at(section).heading;
        return QAbstractTableModel::headerData(section, orientation, role);
    }

    bool canFetchMore(const QModelIndex &parent) const override
    {
        return m_inner && m_inner->canFetchMore(parent);
    }
    void fetchMore(const QModelIndex &parent) override
    {
        if (m_inner)
            m_inner->fetchMore(parent);
    }

    QList<GridColumn> m_columns;
    QList<int> m_sourceColumn;
    QList<std::optional<store::ColumnKind>> m_kind;
    store::DataControl *m_source = nullptr;
    QPointer<QAbstractItemModel> m_inner;
    bool m_editable = false;
    QList<QMetaObject::Connection> m_connections;
};

namespace {

// How the grid draws and edits its cells. A cell's text is drawn from a cache of laid-out
// texts: down a list the same dates, amounts and descriptions recur, and a page scrolled
// back to is drawn again, so a text is shaped once instead of at every paint (laying out
// every cell's text anew made up most of the time of a page step). What surrounds the text
// (selection, focus) is still drawn by the style. An in-place editor takes no more
// characters than its column allows.
class GridDelegate : public QStyledItemDelegate {
public:
    GridDelegate(const QList<GridColumn> *columns, QObject *parent)
        : QStyledItemDelegate(parent), m_columns(columns), m_texts(kCachedTexts)
    {
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const QWidget *widget = option.widget;
        QStyle *style = widget ? widget->style() : QApplication::style();
        if (option.state & (QStyle::State_Selected | QStyle::State_HasFocus)) {
            QStyleOptionViewItem panel = option;
            initStyleOption(&panel, index);
            panel.text.clear();
            panel.features &= ~QStyleOptionViewItem::HasDisplay;
            style->drawControl(QStyle::CE_ItemViewItem, &panel, painter, widget);
        }
        const QString text = index.data(Qt::DisplayRole).toString();
        if (text.isEmpty())
            return;

        // Where the style puts a single line of text: inside the focus margins, aligned.
        const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, widget) + 1;
        const QRect area = option.rect.adjusted(margin, 0, -margin, 0);
        if (area.width() <= 0)
            return;
        if (option.font != m_font) {
            m_texts.clear();
            m_font = option.font;
        }
        const QStaticText *laidOut = laidOutText(text, area.width(), option);
        const Qt::Alignment align = Qt::Alignment(index.data(Qt::TextAlignmentRole).toInt()) | Qt::AlignVCenter;
        const QRect placed = QStyle::alignedRect(option.direction, align, laidOut->size().toSize(), area);
        const QPalette::ColorGroup group = !(option.state & QStyle::State_Enabled) ? QPalette::Disabled
                                           : (option.state & QStyle::State_Active) ? QPalette::Normal
                                                                                   : QPalette::Inactive;
        painter->setFont(option.font);
        painter->setPen(option.palette.color(
            group, (option.state & QStyle::State_Selected) ? QPalette::HighlightedText : QPalette::Text));
        painter->drawStaticText(placed.topLeft(), *laidOut);
    }

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        QWidget *editor = QStyledItemDelegate::createEditor(parent, option, index);
        auto *line = qobject_cast<QLineEdit *>(editor);
        const int limit = index.column() < m_columns->size() ? m_columns->at(index.column()).maxLength : 0;
        if (line && limit > 0)
            line->setMaxLength(limit);
        return editor;
    }

private:
    static constexpr int kCachedTexts = 4000;

    // The text as it fits `width`, elided as the style elides it, laid out once. A text
    // that fits is cached by itself; one that must be shortened, with the width it had.
    const QStaticText *laidOutText(const QString &text, int width, const QStyleOptionViewItem &option) const
    {
        const QStaticText *whole = cached(text, text, option.font);
        if (whole->size().width() <= width)
            return whole;
        const QString elided = QFontMetrics(option.font).elidedText(text, option.textElideMode, width);
        return cached(QString::number(width) + QLatin1Char('|') + text, elided, option.font);
    }

    const QStaticText *cached(const QString &key, const QString &text, const QFont &font) const
    {
        if (const QStaticText *hit = m_texts.object(key))
            return hit;
        auto *laidOut = new QStaticText(text);
        laidOut->setTextFormat(Qt::PlainText);
        laidOut->setPerformanceHint(QStaticText::AggressiveCaching);
        laidOut->prepare(QTransform(), font);
        m_texts.insert(key, laidOut);
        return m_texts.object(key);
    }

    const QList<GridColumn> *m_columns;
    mutable QCache<QString, QStaticText> m_texts;
    mutable QFont m_font;
};

}  // namespace

DataGrid::DataGrid(QWidget *parent) : QFrame(parent)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_caption = new QLabel(this);
    m_caption->setAlignment(Qt::AlignCenter);
    m_caption->setStyleSheet(QStringLiteral("QLabel { background: palette(mid); font-weight: bold; padding: 2px; }"));
    m_caption->hide();
    m_view = new QTableView(this);
    m_model = new DataGridModel(this);
    m_view->setModel(m_model);
    m_view->setItemDelegate(new GridDelegate(&m_model->m_columns, m_view));
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_view->setSelectionMode(QAbstractItemView::SingleSelection);
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->verticalHeader()->setDefaultSectionSize(m_view->fontMetrics().height() + 6);
    m_view->horizontalHeader()->setStretchLastSection(true);
    layout->addWidget(m_caption);
    layout->addWidget(m_view);
    setFocusProxy(m_view);
    connect(m_view->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex &current) {
                if (m_following || !current.isValid() || !m_source)
                    return;
                try {
                    m_source->moveTo(current.row());
                } catch (const std::exception &e) {
                    store::reportError(e);
                    followCurrentRow();
                }
                emit rowClicked(current.row());
            });
    connect(m_model, &QAbstractItemModel::modelReset, this, &DataGrid::fitColumns);
    connect(m_view, &QTableView::doubleClicked, this, [this](const QModelIndex &i) { emit rowDoubleClicked(i.row()); });
}

DataGrid::~DataGrid() = default;

void DataGrid::setCaption(const QString &caption)
{
    m_caption->setText(caption);
    m_caption->setVisible(!caption.isEmpty());
}

QString DataGrid::caption() const
{
    return m_caption->text();
}

void DataGrid::setColumns(const QList<GridColumn> &columns)
{
    m_model->setColumns(columns);
    for (int i = 0; i < columns.size(); ++i) {
        m_view->setColumnHidden(i, !columns.at(i).visible);
        if (columns.at(i).width > 0)
            m_view->setColumnWidth(i, columns.at(i).width);
    }
}

const QList<GridColumn> &DataGrid::columns() const
{
    return m_model->m_columns;
}

void DataGrid::setDataSource(store::DataControl *source)
{
    if (m_source)
        disconnect(m_source, nullptr, this, nullptr);
    m_source = source;
    m_model->setSource(source);
    if (m_source)
        connect(m_source, &store::DataControl::currentChanged, this, &DataGrid::followCurrentRow);
    const auto cols = m_model->m_columns;
    for (int i = 0; i < cols.size(); ++i)
        m_view->setColumnHidden(i, !cols.at(i).visible);
    followCurrentRow();
}

void DataGrid::setEditable(bool editable)
{
    m_model->m_editable = editable;
    m_view->setEditTriggers(editable ? QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                                           QAbstractItemView::AnyKeyPressed
                                     : QAbstractItemView::NoEditTriggers);
}

void DataGrid::setMaxLength(const QString &field, int maxLength)
{
    for (GridColumn &c : m_model->m_columns)
        if (c.field.compare(field, Qt::CaseInsensitive) == 0)
            c.maxLength = maxLength;
}

void DataGrid::refresh()
{
    m_model->setSource(m_source);
    const auto cols = m_model->m_columns;
    for (int i = 0; i < cols.size(); ++i)
        m_view->setColumnHidden(i, !cols.at(i).visible);
    // The view follows the data control's model, so what changed is drawn already; an
    // unchanged list is not drawn again.
    followCurrentRow();
}

void DataGrid::fitColumns()
{
    // Columns as wide as what they show (within reason), unless a width was given.
    const auto &cols = m_model->m_columns;
    for (int i = 0; i < cols.size(); ++i) {
        if (cols.at(i).width > 0 || !cols.at(i).visible)
            continue;
        m_view->resizeColumnToContents(i);
        m_view->setColumnWidth(i, std::min(m_view->columnWidth(i), 320));
    }
}

void DataGrid::followCurrentRow()
{
    if (!m_source)
        return;
    m_following = true;
    const int row = m_source->currentIndex();
    if (row >= 0 && row < m_model->rowCount())
        m_view->selectionModel()->setCurrentIndex(m_model->index(row, 0),
                                                   QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    else
        m_view->selectionModel()->clearSelection();
    m_following = false;
}

QString DataGrid::cellText(int row, int column) const
{
    return m_model->text(row, column);
}

int DataGrid::rowCount() const
{
    return m_model->rowCount();
}

int DataGrid::visibleColumnCount() const
{
    int n = 0;
    for (const auto &c : m_model->m_columns)
        n += c.visible ? 1 : 0;
    return n;
}

QString DataGrid::heading(int column) const
{
    return m_model->m_columns.value(column).heading;
}

void DataGrid::clickRow(int row)
{
    m_view->selectionModel()->setCurrentIndex(m_model->index(row, 0),
                                               QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

}  // namespace ui
