#pragma once
class QFileDialog;

namespace vireo {

/// Makes the toolkit's own file dialog large enough for its side bar and its columns; one that the operator has made
/// larger stays so. Before it is shown.
void GiveRoom(QFileDialog& dialog);

} // namespace vireo
