#include "ui/preferences/PLPreferencesEncodingComboBox.h"

#include "core/project/PLFileEncodingComboBoxDataSource.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

PLPreferencesEncodingComboBox::PLPreferencesEncodingComboBox(QWidget *parent)
    : QComboBox(parent), m_dataSource(new PLFileEncodingComboBoxDataSource(this))
{
    setObjectName(QStringLiteral("encodingComboBox"));
    setModel(m_dataSource);
    setCurrentIndex(m_dataSource->currentIndex());
    connect(this, &QComboBox::currentIndexChanged, this, &PLPreferencesEncodingComboBox::encodingComboBoxDidChangeSelection);
}

void PLPreferencesEncodingComboBox::encodingComboBoxDidChangeSelection(int index)
{
    if (index == -1)
        return;
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    defaults.setInteger(qint64(m_dataSource->encodingAtIndex(index)), PLUserDefaultsFileEncoding);
    defaults.synchronize();
}
