#pragma once

#include <QPixmap>
#include <QString>

// An image of the application's resources by file name. Plumeo's images are drawn at twice their
// size in points, so they stay sharp on high-density screens.
QPixmap PLResourceImage(const QString &fileName);
