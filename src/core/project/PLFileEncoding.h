#pragma once

#include "core/foundation/PLStringEncoding.h"

#include <QString>

// One choice in an encoding list: the stored encoding number and the name shown for it.
class PLFileEncoding
{
public:
    PLFileEncoding(PLStringEncoding encoding, QString name) : m_encoding(encoding), m_name(std::move(name)) {}

    PLStringEncoding encoding() const { return m_encoding; }
    const QString &name() const { return m_name; }

private:
    PLStringEncoding m_encoding;
    QString m_name;
};
