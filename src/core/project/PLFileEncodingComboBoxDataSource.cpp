#include "core/project/PLFileEncodingComboBoxDataSource.h"

#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

PLFileEncodingComboBoxDataSource::PLFileEncodingComboBoxDataSource(QObject *parent)
    : QAbstractListModel(parent)
    , m_encodings{
          PLFileEncoding(PLStringEncodings::UTF8, QStringLiteral("UTF8")),
          PLFileEncoding(PLStringEncodings::ISOLatin1, QStringLiteral("Latin 1")),
          PLFileEncoding(PLStringEncodings::ISOLatin2, QStringLiteral("Latin 2")),
          PLFileEncoding(PLStringEncodings::MacOSRoman, QStringLiteral("MacOS Roman")),
      }
{
}

QString PLFileEncodingComboBoxDataSource::objectValueForItemAtIndex(int index) const
{
    return index >= 0 && index < m_encodings.size() ? m_encodings[index].name() : QString();
}

PLStringEncoding PLFileEncodingComboBoxDataSource::encodingAtIndex(int index) const
{
    return index >= 0 && index < m_encodings.size() ? m_encodings[index].encoding() : PLStringEncodings::UTF8;
}

int PLFileEncodingComboBoxDataSource::currentIndex() const
{
    const qint64 stored = PLUserDefaults::standardUserDefaults().integerForKey(PLUserDefaultsFileEncoding);
    for (int i = 0; i < m_encodings.size(); ++i) {
        if (qint64(m_encodings[i].encoding()) == stored)
            return i;
    }
    return -1;
}

QString PLFileEncodingComboBoxDataSource::currentEncodingName() const
{
    const int index = currentIndex();
    return index < 0 ? QString() : m_encodings[index].name();
}

PLStringEncoding PLFileEncodingComboBoxDataSource::currentEncoding() const
{
    const int index = currentIndex();
    return index < 0 ? PLStringEncodings::UTF8 : m_encodings[index].encoding();
}

int PLFileEncodingComboBoxDataSource::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_encodings.size());
}

QVariant PLFileEncodingComboBoxDataSource::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_encodings.size())
        return {};
    if (role == Qt::DisplayRole || role == Qt::EditRole)
        return m_encodings[index.row()].name();
    if (role == EncodingRole)
        return m_encodings[index.row()].encoding();
    return {};
}
