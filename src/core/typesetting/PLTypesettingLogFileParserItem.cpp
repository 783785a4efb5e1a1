#include "core/typesetting/PLTypesettingLogFileParserItem.h"

PLTypesettingLogFileParserItem::PLTypesettingLogFileParserItem(qint32 type, QString filename, QString message,
                                                               QString advice, int line, int column)
    : m_type(type), m_filename(std::move(filename)), m_message(std::move(message)), m_advice(std::move(advice)),
      m_line(line), m_column(column)
{
}
