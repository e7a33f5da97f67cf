#pragma once

#include <QComboBox>
#include <QListWidget>
#include <QPointer>

#include "store/DataControl.h"

namespace ui {

// What DataCombo and DataList share: the rows of a RowSource data control, shown by
// ListField, identified by BoundColumn. Choosing an item makes its row the current row of
// the RowSource, so other columns of the chosen row are read through that control. For a
// control that writes, the BoundText goes to DataField of the DataSource's current row.
class ListBinding : public QObject {
    Q_OBJECT
public:
    ListBinding(QWidget *owner, std::function<void(const QStringList &)> fill,
                std::function<int()> currentIndex, std::function<void(int)> setCurrentIndex);

    void setRowSource(store::DataControl *rowSource, const QString &listField, const QString &boundColumn);
    void setDataSource(store::DataControl *dataSource, const QString &dataField);
    store::DataControl *rowSource() const { return m_rowSource; }

    void refill();  // Refresh: the list again from the RowSource's rows
    QString boundText() const;
    void setBoundText(const QString &text);
    QString text() const;  // the ListField text of the chosen item
    void userChose(int index);

signals:
    void changed();

private:
    void showDataSourceValue();
    void handOver();

    QWidget *m_owner;
    std::function<void(const QStringList &)> m_fill;
    std::function<int()> m_currentIndex;
    std::function<void(int)> m_setCurrentIndex;
    QPointer<store::DataControl> m_rowSource;
    QPointer<store::DataControl> m_dataSource;
    QString m_listField;
    QString m_boundColumn;
    QString m_dataField;
    QStringList m_bound;  // BoundColumn value per item
    QStringList m_texts;
    bool m_dirty = false;
    bool m_filling = false;
    QList<QMetaObject::Connection> m_dataConnections;
};

// What a DataCombo and a DataList answer alike: their RowSource, DataSource and BoundText.
class BoundList {
public:
    virtual ~BoundList() = default;
    virtual ListBinding &binding() = 0;
    virtual const ListBinding &binding() const = 0;
    void setRowSource(store::DataControl *rowSource, const QString &listField, const QString &boundColumn)
    {
        binding().setRowSource(rowSource, listField, boundColumn);
    }
    void setDataSource(store::DataControl *dataSource, const QString &dataField)
    {
        binding().setDataSource(dataSource, dataField);
    }
    void refill() { binding().refill(); }
    QString boundText() const { return binding().boundText(); }
    void setBoundText(const QString &text) { binding().setBoundText(text); }
};

// A combo over a data control's rows (DataCombo). `changed` is its Change event.
class DataCombo : public QComboBox, public BoundList {
    Q_OBJECT
public:
    explicit DataCombo(QWidget *parent = nullptr);
    ListBinding &binding() override { return m_binding; }
    const ListBinding &binding() const override { return m_binding; }
    // Chooses an item as a user would (tests and keyboard): the row source moves, Change fires.
    void choose(int index);
    bool chooseText(const QString &listText);

signals:
    void changed();

private:
    ListBinding m_binding;
};

// A list over a data control's rows (DataList).
class DataList : public QListWidget, public BoundList {
    Q_OBJECT
public:
    explicit DataList(QWidget *parent = nullptr);
    ListBinding &binding() override { return m_binding; }
    const ListBinding &binding() const override { return m_binding; }
    void choose(int index);
    bool chooseText(const QString &listText);

signals:
    void changed();

private:
    ListBinding m_binding;
};

}  // namespace ui
