#include "platform/qt/camera_selection_dlg.h"
#include "support/qt_tools.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>

namespace vireo {
namespace {

CameraInfo Camera(std::uint32_t uiSerial, InterfaceType eInterface, const char* pModel, const char* pVendor)
{
    CameraInfo info;
    info.serialNumber = uiSerial;
    info.interfaceType = eInterface;
    info.modelName = pModel;
    info.vendorName = pVendor;
    return info;
}

TEST(CameraSelectionDlg, ListsEveryCameraWithItsOrigin)
{
    const CameraInfo cameras[] = {
        Camera(17000001, InterfaceType::Usb3, "GS3-U3-23S6M", "Simulated"),
        Camera(4294967295U, InterfaceType::GigE, "GS3-PGE-23S6C", "Acme"),
    };
    const CameraSelectionDlg dialog(cameras);
    const auto* pTable = dialog.findChild<QTableWidget*>(QStringLiteral("cameras"));
    ASSERT_NE(pTable, nullptr);
    const auto row = [pTable](int iRow) {
        QStringList texts;
        for (int iColumn = 0; iColumn < 4; ++iColumn)
            texts.append(pTable->item(iRow, iColumn)->text());
        return texts;
    };
    ASSERT_EQ(pTable->rowCount(), 2);
    EXPECT_EQ(row(0), QStringList({ "GS3-U3-23S6M", "17000001", "USB 3.0", QStringLiteral("シミュレーション") }));
    EXPECT_EQ(row(1), QStringList({ "GS3-PGE-23S6C", "4294967295", "GigE", "Acme" }));
}

TEST(CameraSelectionDlg, EndsWithOkOrCancel)
{
    CameraSelectionDlg dialog({});
    auto* pButtons = dialog.findChild<QDialogButtonBox*>();
    pButtons->button(QDialogButtonBox::Ok)->click();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    pButtons->button(QDialogButtonBox::Cancel)->click();
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
}

} // namespace
} // namespace vireo
