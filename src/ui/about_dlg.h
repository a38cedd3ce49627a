#pragma once
#include <QDialog>

namespace vireo {

/// Icon, name and version of the program.
class CAboutDlg2 : public QDialog {
public:
    explicit CAboutDlg2(const QIcon& icon, const QString& strVersion, QWidget* pParent = nullptr);
};

} // namespace vireo
