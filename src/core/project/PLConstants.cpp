#include "core/project/PLConstants.h"

#include "core/foundation/PLLogging.h"

#include <memory>

namespace {
PLConstants *lastMade = nullptr;

QImage load(const QString &fileName)
{
    QImage image(PLConstants::resourcePath(fileName));
    if (image.isNull())
        qCWarning(lcUi) << "missing image resource" << fileName;
    return image;
}
}

static void initCoreResources()
{
    Q_INIT_RESOURCE(core);
}

PLConstants::PLConstants()
{
    initCoreResources();
    m_fileInclude = load(QStringLiteral("fileIncludes.png"));
    m_part = load(QStringLiteral("parts.png"));
    m_chapter = load(QStringLiteral("chapters.png"));
    m_section = load(QStringLiteral("sections.png"));
    m_subsection = load(QStringLiteral("subsections.png"));
    m_bibliography = load(QStringLiteral("bibliography_outline_icon.png"));
    m_error = load(QStringLiteral("errorsAndWarningsTableViewErrorIcon.png"));
    m_warning = load(QStringLiteral("errorsAndWarningsTableViewWarningIcon.png"));
    lastMade = this;
}

PLConstants::~PLConstants()
{
    if (lastMade == this)
        lastMade = nullptr;
}

PLConstants &PLConstants::sharedConstants()
{
    static std::unique_ptr<PLConstants> firstUse;
    if (!lastMade)
        firstUse = std::make_unique<PLConstants>();
    return *lastMade;
}

QString PLConstants::resourcePath(const QString &fileName)
{
    return QStringLiteral(":/images/") + fileName;
}
