#include "ui/DataLists.h"

#include "store/DataControl.h"
#include "store/ErrorReporter.h"

namespace ui {

ListBinding::ListBinding(QWidget *owner, std::function<void(const QStringList &)> fill,
                         std::function<int()> currentIndex, std::function<void(int)> setCurrentIndex)
    : QObject(owner), m_owner(owner), m_fill(std::move(fill)), m_currentIndex(std::move(currentIndex)),
      m_setCurrentIndex(std::move(setCurrentIndex))
{
}

void ListBinding::setRowSource(store::DataControl *rowSource, const QString &listField, const QString &boundColumn)
{
    if (m_rowSource)
        disconnect(m_rowSource, nullptr, this, nullptr);
    m_rowSource = rowSource;
    m_listField = listField;
    m_boundColumn = boundColumn.isEmpty() ? listField : boundColumn;
    if (m_rowSource)
        connect(m_rowSource, &store::DataControl::refreshed, this, &ListBinding::refill);
    refill();
}

void ListBinding::setDataSource(store::DataControl *dataSource, const QString &dataField)
{
    for (const auto &c : m_dataConnections)
        disconnect(c);
    m_dataConnections.clear();
    m_dataSource = dataSource;
    m_dataField = dataField;
    if (m_dataSource) {
        m_dataConnections << connect(m_dataSource, &store::DataControl::currentChanged, this,
                                     &ListBinding::showDataSourceValue);
        m_dataConnections << connect(m_dataSource, &store::DataControl::aboutToWrite, this, &ListBinding::handOver);
    }
    showDataSourceValue();
}

void ListBinding::refill()
{
    m_bound.clear();
    m_texts.clear();
    if (m_rowSource && m_rowSource->isOpen()) {
        m_rowSource->fetchAll();
        const int listCol = m_rowSource->fieldIndex(m_listField);
        const int boundCol = m_rowSource->fieldIndex(m_boundColumn);
        for (int r = 0; r < m_rowSource->fetchedCount(); ++r) {
            m_texts << (listCol >= 0 ? m_rowSource->valueAt(r, listCol).toString() : QString());
            m_bound << (boundCol >= 0 ? m_rowSource->valueAt(r, boundCol).toString() : QString());
        }
    }
    m_filling = true;
    m_fill(m_texts);
    m_setCurrentIndex(-1);
    m_filling = false;
    if (m_dataSource)
        showDataSourceValue();
}

QString ListBinding::boundText() const
{
    const int i = m_currentIndex();
    return i >= 0 && i < m_bound.size() ? m_bound.at(i) : QString();
}

QString ListBinding::text() const
{
    const int i = m_currentIndex();
    return i >= 0 && i < m_texts.size() ? m_texts.at(i) : QString();
}

void ListBinding::setBoundText(const QString &text)
{
    const int i = m_bound.indexOf(text);
    m_filling = true;
    m_setCurrentIndex(i);
    m_filling = false;
    if (i >= 0 && m_rowSource && m_rowSource->currentIndex() != i) {
        try {
            m_rowSource->moveTo(i);
        } catch (const std::exception &e) {
            store::reportError(e);
        }
    }
    emit changed();
}

void ListBinding::userChose(int index)
{
    if (m_filling)
        return;
    if (index >= 0 && m_rowSource) {
        try {
            m_rowSource->moveTo(index);
        } catch (const std::exception &e) {
            store::reportError(e);
        }
    }
    m_dirty = true;
    emit changed();
}

void ListBinding::showDataSourceValue()
{
    if (!m_dataSource)
        return;
    QString value;
    if (m_dataSource->hasCurrentRow() && m_dataSource->fieldIndex(m_dataField) >= 0)
        value = m_dataSource->value(m_dataField).toString();
    const int i = m_bound.indexOf(value);
    m_filling = true;
    m_setCurrentIndex(i);
    m_filling = false;
    if (i >= 0 && m_rowSource && m_rowSource->currentIndex() != i) {
        try {
            m_rowSource->moveTo(i);
        } catch (const std::exception &e) {
            store::reportError(e);
        }
    }
    m_dirty = false;
}

void ListBinding::handOver()
{
    if (!m_dirty || !m_dataSource || !m_dataSource->hasCurrentRow() || m_dataSource->fieldIndex(m_dataField) < 0)
        return;
    const QString value = boundText();
    m_dataSource->setValue(m_dataField, value.isEmpty() ? QVariant() : QVariant(value));
    m_dirty = false;
}

// ---------------------------------------------------------------------------------------

DataCombo::DataCombo(QWidget *parent)
    : QComboBox(parent),
      m_binding(
          this,
          [this](const QStringList &texts) {
              clear();
              addItems(texts);
          },
          [this] { return currentIndex(); }, [this](int i) { setCurrentIndex(i); })
{
    connect(this, &QComboBox::activated, &m_binding, &ListBinding::userChose);
    connect(&m_binding, &ListBinding::changed, this, &DataCombo::changed);
}

void DataCombo::choose(int index)
{
    setCurrentIndex(index);
    m_binding.userChose(index);
}

bool DataCombo::chooseText(const QString &listText)
{
    const int i = findText(listText);
    if (i < 0)
        return false;
    choose(i);
    return true;
}

DataList::DataList(QWidget *parent)
    : QListWidget(parent),
      m_binding(
          this,
          [this](const QStringList &texts) {
              clear();
              addItems(texts);
          },
          [this] { return currentRow(); }, [this](int i) { setCurrentRow(i); })
{
    connect(this, &QListWidget::currentRowChanged, &m_binding, &ListBinding::userChose);
    connect(&m_binding, &ListBinding::changed, this, &DataList::changed);
}

void DataList::choose(int index)
{
    setCurrentRow(index);  // currentRowChanged hands it to the binding
}

bool DataList::chooseText(const QString &listText)
{
    for (int i = 0; i < count(); ++i)
        if (item(i)->text() == listText) {
            choose(i);
            return true;
        }
    return false;
}

}  // namespace ui
