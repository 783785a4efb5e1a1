#pragma once

#include <QImage>
#include <QString>

// The shared images of the outline and the error list, loaded once from the resources.
class PLConstants
{
public:
    PLConstants();
    ~PLConstants();
    PLConstants(const PLConstants &) = delete;
    PLConstants &operator=(const PLConstants &) = delete;
    // The instance that was last made; made on first use when there is none.
    static PLConstants &sharedConstants();

    const QImage &outlineViewCellImageFileInclude() const { return m_fileInclude; }
    const QImage &outlineViewCellImagePart() const { return m_part; }
    const QImage &outlineViewCellImageChapter() const { return m_chapter; }
    const QImage &outlineViewCellImageSection() const { return m_section; }
    const QImage &outlineViewCellImageSubsection() const { return m_subsection; }
    const QImage &outlineViewCellImageBibliography() const { return m_bibliography; }
    const QImage &errorCellImageError() const { return m_error; }
    const QImage &errorCellImageWarning() const { return m_warning; }

    // The resource path of a named image: ":/images/" followed by the file name.
    static QString resourcePath(const QString &fileName);

private:
    QImage m_fileInclude;
    QImage m_part;
    QImage m_chapter;
    QImage m_section;
    QImage m_subsection;
    QImage m_bibliography;
    QImage m_error;
    QImage m_warning;
};
