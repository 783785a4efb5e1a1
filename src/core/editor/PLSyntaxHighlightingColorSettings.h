#pragma once

#include "core/editor/PLSyntaxHighlightingColorSetting.h"

#include <QList>
#include <QString>

// One group of rows of the text-colours preferences ("LaTeX", "BIB").
class PLSyntaxHighlightingColorSettings
{
public:
    PLSyntaxHighlightingColorSettings() = default;

    // The groups the preferences show, in order: the LaTeX token classes, then the bibliography ones.
    static QList<PLSyntaxHighlightingColorSettings> editorColorGroups();

    const QString &title() const { return m_title; }
    void setTitle(const QString &title) { m_title = title; }

    void addProperty(const PLSyntaxHighlightingColorSetting &property) { m_properties.append(property); }
    qsizetype countOfProperties() const { return m_properties.size(); }
    const PLSyntaxHighlightingColorSetting &propertyAtIndex(qsizetype index) const { return m_properties.at(index); }
    const QList<PLSyntaxHighlightingColorSetting> &properties() const { return m_properties; }

private:
    QString m_title;
    QList<PLSyntaxHighlightingColorSetting> m_properties;
};
