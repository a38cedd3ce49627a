#pragma once
#include "camera/vireo_doc.h"
#include "ui/property_set_rules.h"

#include <QDialog>
#include <functional>
#include <optional>

class QAbstractButton;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;

namespace vireo {

class UpDownEdit;

/// Lets the operator choose a folder; none when cancelled.
using ChooseFolder = std::function<std::optional<QString>(QWidget* pOwner, const QString& strFolder)>;
/// The folder dialog of the desktop.
std::optional<QString> AskForFolder(QWidget* pOwner, const QString& strFolder);

/// The settings of one preset. While it is open the preset stands in the document; OK writes it to the
/// settings file, Cancel puts everything back. User-interface thread.
class PropertySetDlg : public QDialog {
public:
    /// `iPreset` 1..4 becomes the document's preset. `strNativeFolder` gives the place where the folder
    /// dialog opens for a folder as the document keeps it.
    PropertySetDlg(CVireoDoc& doc, int iPreset, QWidget* pParent = nullptr, ChooseFolder chooseFolder = AskForFolder);

    void accept() override;
    void reject() override;

private:
    void MakeControls();
    void LayOut();
    void Connect();
    void Fill();
    void FillRates();
    void RateChanged();
    void SizeChanged();
    void BrowseFolder();
    [[nodiscard]] int SelectedRate() const;

    CVireoDoc& m_doc;
    ChooseFolder m_chooseFolder;
    const CaptureParameters m_before; ///< what Cancel brings back
    const std::string m_strFolderBefore;
    std::string m_strFolder; ///< what OK takes
    int m_iPreset;

    QLineEdit* m_pName = nullptr;
    QLineEdit* m_pFolder = nullptr;
    QAbstractButton* m_pBrowse = nullptr;
    UpDownEdit* m_pRecordSec = nullptr;
    QComboBox* m_pRate = nullptr;
    UpDownEdit* m_pCameraNumber = nullptr;
    QComboBox* m_pShutter = nullptr;
    UpDownEdit* m_pGain = nullptr;
    QLabel* m_pSizeLabel = nullptr;
    QComboBox* m_pSize = nullptr;
    QCheckBox* m_pExternalInput = nullptr;
};

} // namespace vireo
