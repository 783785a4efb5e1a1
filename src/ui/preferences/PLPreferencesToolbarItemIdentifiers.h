#pragma once

#include <QString>

// The toolbar item identifiers of the preferences window. The misspelling "Prefences" belongs to
// the identifiers and stays.
inline const QString PLPrefencesToolbarItemIdentifierGeneral = QStringLiteral("PLPrefencesToolbarItemIdentifierGeneral");
inline const QString PLPrefencesToolbarItemIdentifierFiles = QStringLiteral("PLPrefencesToolbarItemIdentifierFiles");
inline const QString PLPrefencesToolbarItemIdentifierTextColor = QStringLiteral("PLPrefencesToolbarItemIdentifierTextColor");
inline const QString PLPrefencesToolbarItemIdentifierEngine = QStringLiteral("PLPrefencesToolbarItemIdentifierEngine");
inline const QString PLPrefencesToolbarItemIdentifierAutoUpdater = QStringLiteral("PLPrefencesToolbarItemIdentifierAutoUpdater");
inline const QString PLPrefencesToolbarItemIdentifierAdvanced = QStringLiteral("PLPrefencesToolbarItemIdentifierAdvanced");
inline const QString PLPrefencesToolbarItemIdentifierPDFPreview = QStringLiteral("PLPrefencesToolbarItemIdentifierPDFPreview");
// Defined with the others but belongs to no pane and is never selectable.
inline const QString PLPrefencesToolbarItemIdentifierTypesetter = QStringLiteral("PLPrefencesToolbarItemIdentifierTypesetter");
