#pragma once
class QWidget;

namespace vireo {

/// When printing opens its dialog.
enum class Ask { Always, WithoutAPrinter };

/// Prints the widget as it is drawn, as large as the page allows: on the printer that is asked for, or on the usual
/// one.
void PrintWidget(QWidget& widget, QWidget* pOwner, Ask eAsk = Ask::Always);

} // namespace vireo
