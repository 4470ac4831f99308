// Our own icons, compiled in from resources/icons/NAME.svg. SVG, so the icon engine
// draws them sharp at every size and scale. Main thread only (as QIcon).
#pragma once

#include <QIcon>
#include <QString>

namespace tessaroven {

inline QIcon OwnIcon(const char* name) { return QIcon(QStringLiteral(":/icons/%1.svg").arg(QLatin1String(name))); }

}  // namespace tessaroven
