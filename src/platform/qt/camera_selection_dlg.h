#pragma once
#include "platform/camera_types.h"

#include <QDialog>
#include <span>

namespace vireo {

/// The cameras found, in a table for the operator to confirm.
class CameraSelectionDlg : public QDialog {
public:
    explicit CameraSelectionDlg(std::span<const CameraInfo> cameras, QWidget* pParent = nullptr);
};

/// The interface as the table names it.
QString InterfaceText(InterfaceType eInterface);

} // namespace vireo
