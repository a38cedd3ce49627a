#pragma once
#include <QIcon>

namespace vireo {

/// The program's own icon.
QIcon ProgramIcon();
/// The icon of a command (app/qt/commands.h), drawn in the colours of the palette; null when it has none.
QIcon CommandIcon(int iCommand);

} // namespace vireo
