#include "PLLogItem.h"

#include "PLFile.h"

PLLogItem::PLLogItem(int type, QString message, int line, std::shared_ptr<PLFile> file)
    : m_type(type), m_message(std::move(message)), m_line(line), m_file(std::move(file))
{
}
