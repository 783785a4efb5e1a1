#pragma once

#include <QList>
#include <QString>

#include <memory>

class PLOutlineNode;

// Cuts a text into an ordered list of outline nodes.
class PLStringParser
{
public:
    virtual ~PLStringParser() = default;
    virtual QList<std::shared_ptr<PLOutlineNode>> parseString(const QString &string) = 0;
};
