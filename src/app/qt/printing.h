#pragma once
class QWidget;

namespace vireo {

/// Asks for a printer and prints the widget as it is drawn, as large as the page allows.
void PrintWidget(QWidget& widget, QWidget* pOwner);

} // namespace vireo
