#include "core/typesetting/PLLogItem.h"

PLLogItem::PLLogItem(int type, QString message, int line, QString filePath)
    : m_type(type), m_message(std::move(message)), m_line(line), m_filePath(std::move(filePath))
{
}
