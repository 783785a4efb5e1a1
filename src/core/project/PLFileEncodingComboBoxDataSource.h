#pragma once

#include "core/project/PLFileEncoding.h"

#include <QAbstractListModel>
#include <QList>

// The encodings a user can choose for project files, as a list model for combo boxes.
class PLFileEncodingComboBoxDataSource : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Roles { EncodingRole = Qt::UserRole + 1 };

    explicit PLFileEncodingComboBoxDataSource(QObject *parent = nullptr);

    int numberOfItemsInComboBox() const { return int(m_encodings.size()); }
    QString objectValueForItemAtIndex(int index) const;
    PLStringEncoding encodingAtIndex(int index) const;
    const QList<PLFileEncoding> &encodings() const { return m_encodings; }

    // The entry that matches the "PLUserDefaultsFileEncoding" setting: "" and 4 when none does.
    QString currentEncodingName() const;
    PLStringEncoding currentEncoding() const;
    // The row of the current entry, or -1.
    int currentIndex() const;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

private:
    QList<PLFileEncoding> m_encodings;
};
