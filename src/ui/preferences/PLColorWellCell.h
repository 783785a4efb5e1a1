#pragma once

#include <QStyledItemDelegate>

class PLColorWellDelegate;

// The cells of a colour column: a cell whose item names a settings key hosts a colour well bound
// to that key, with the item's notification and tooltip; any other cell stays empty.
class PLColorWellCell : public QStyledItemDelegate
{
    Q_OBJECT

public:
    enum Roles { UserDefaultsKeyRole = Qt::UserRole + 1, NotificationKeyRole };

    PLColorWellCell(PLColorWellDelegate *colorWellDelegate, QObject *parent = nullptr);

    static bool displayColorWell(const QModelIndex &index);

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    // The well keeps the settings itself: nothing flows between it and the model.
    void setEditorData(QWidget *, const QModelIndex &) const override {}
    void setModelData(QWidget *, QAbstractItemModel *, const QModelIndex &) const override {}
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    PLColorWellDelegate *m_colorWellDelegate;
};
