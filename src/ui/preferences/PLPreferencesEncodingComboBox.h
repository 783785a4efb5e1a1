#pragma once

#include <QComboBox>

class PLFileEncodingComboBoxDataSource;

// The choice of the encoding files are read and saved in, as the advanced and files panes offer
// it: it shows the stored setting and stores every choice at once.
class PLPreferencesEncodingComboBox : public QComboBox
{
    Q_OBJECT

public:
    explicit PLPreferencesEncodingComboBox(QWidget *parent = nullptr);

    PLFileEncodingComboBoxDataSource *dataSource() const { return m_dataSource; }

    // Stores the encoding of the chosen row under "PLUserDefaultsFileEncoding" and writes the
    // settings to disk; no row chosen (-1) stores nothing.
    void encodingComboBoxDidChangeSelection(int index);

private:
    PLFileEncodingComboBoxDataSource *m_dataSource;
};
