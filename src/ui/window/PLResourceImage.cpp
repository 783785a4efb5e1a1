#include "ui/window/PLResourceImage.h"

#include "core/foundation/PLLogging.h"

static void initUiResources()
{
    // The resources live in a static library: register them before the first lookup.
    static const bool registered = [] {
        Q_INIT_RESOURCE(ui);
        return true;
    }();
    Q_UNUSED(registered);
}

QPixmap PLResourceImage(const QString &fileName)
{
    initUiResources();
    QPixmap image(QStringLiteral(":/images/") + fileName);
    if (image.isNull())
        qCWarning(lcUi) << "missing image resource" << fileName;
    image.setDevicePixelRatio(2.0);
    return image;
}
