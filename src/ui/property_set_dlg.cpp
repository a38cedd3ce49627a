#include "ui/property_set_dlg.h"

#include "app/native_path.h"
#include "camera/document_settings.h"
#include "camera/record_time.h"
#include "platform/qt/file_dialog_room.h"
#include "ui/panel_widgets.h"
#include "ui/up_down_edit.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace vireo {

namespace {

QStringList ToList(const std::vector<std::string>& texts)
{
    QStringList list;
    for (const std::string& strText : texts)
        list.append(QString::fromStdString(strText));
    return list;
}

QLabel* LabelFor(const char* pText, QWidget* pBuddy)
{
    auto* pLabel = new QLabel(QString::fromUtf8(pText));
    pLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    pLabel->setBuddy(pBuddy);
    return pLabel;
}

} // namespace

std::optional<QString> AskForFolder(QWidget* pOwner, const QString& strFolder)
{
    QFileDialog dialog(pOwner, QStringLiteral("フォルダの選択"), strFolder);
    dialog.setObjectName(QStringLiteral("choose_folder"));
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setFileMode(QFileDialog::Directory);
    GiveRoom(dialog);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    return dialog.selectedFiles().constFirst();
}

PropertySetDlg::PropertySetDlg(CVireoDoc& doc, int iPreset, QWidget* pParent, ChooseFolder chooseFolder)
    : QDialog(pParent)
    , m_doc(doc)
    , m_chooseFolder(std::move(chooseFolder))
    , m_before(doc.m_parameters)
    , m_strFolderBefore(doc.m_naming.m_strSaveFolder)
    , m_iPreset(iPreset)
{
    setObjectName(QStringLiteral("settings"));
    setWindowTitle(QStringLiteral("設定"));
    m_doc.m_parameters.PresetIndex = iPreset;
    LoadRecordingPreset(m_doc);
    MakeControls();
    LayOut();
    Fill();
    Connect();
}

void PropertySetDlg::MakeControls()
{
    m_pName = WithId(new QLineEdit, 1041);
    m_pFolder = WithId(new QLineEdit, 1042);
    m_pFolder->setReadOnly(true); // the button beside it fills it
    auto* pBrowse = new QPushButton(QStringLiteral("変更"));
    pBrowse->setAutoDefault(false); // Enter means OK
    m_pBrowse = WithId(pBrowse, 1043);
    m_pRecordSec = new UpDownEdit(1044, 1045);
    m_pRate = WithId(new QComboBox, 1046);
    m_pCameraNumber = new UpDownEdit(1047, 1048);
    m_pShutter = WithId(new QComboBox, 1049);
    m_pGain = new UpDownEdit(1050, 1051);
    m_pSize = WithId(new QComboBox, 1053);
    m_pSizeLabel = WithId(LabelFor("画面サイズ：", m_pSize), 1052);
    m_pExternalInput = WithId(new QCheckBox(QStringLiteral("外部入力ON (TTLﾚﾍﾞﾙHigh)")), 1054);
}

void PropertySetDlg::LayOut()
{
    auto* pGrid = new QGridLayout;
    pGrid->setHorizontalSpacing(10);
    pGrid->setVerticalSpacing(9);
    pGrid->setColumnStretch(1, 1);
    pGrid->setColumnStretch(3, 1);
    pGrid->setColumnMinimumWidth(2, fontMetrics().height() * 7);

    pGrid->addWidget(LabelFor("ﾎﾞﾀﾝ名：", m_pName), 0, 0);
    pGrid->addWidget(m_pName, 0, 1, 1, 3);
    pGrid->addWidget(LabelFor("ｾｰﾌﾞフォルダ：", m_pFolder), 1, 0);
    auto* pFolderRow = new QHBoxLayout;
    pFolderRow->setSpacing(6);
    pFolderRow->addWidget(m_pFolder, 1);
    pFolderRow->addWidget(m_pBrowse);
    pGrid->addLayout(pFolderRow, 1, 1, 1, 3);

    auto* pLine = new QFrame;
    pLine->setFrameShape(QFrame::HLine);
    pLine->setFrameShadow(QFrame::Sunken);
    pGrid->addWidget(pLine, 2, 0, 1, 4);

    pGrid->addWidget(LabelFor("録画時間：秒", m_pRecordSec), 3, 0);
    pGrid->addWidget(m_pRecordSec, 3, 1);
    pGrid->addWidget(LabelFor("ﾌﾚｰﾑﾚｰﾄ：", m_pRate), 3, 2);
    pGrid->addWidget(m_pRate, 3, 3);
    pGrid->addWidget(LabelFor("ｶﾒﾗ番号：", m_pCameraNumber), 4, 0);
    pGrid->addWidget(m_pCameraNumber, 4, 1);
    pGrid->addWidget(LabelFor("ｼｬｯﾀｰｽﾋﾟｰﾄﾞ：", m_pShutter), 4, 2);
    pGrid->addWidget(m_pShutter, 4, 3);
    pGrid->addWidget(LabelFor("ｹﾞｲﾝ：", m_pGain), 5, 0);
    pGrid->addWidget(m_pGain, 5, 1);
    pGrid->addWidget(m_pSizeLabel, 5, 2);
    pGrid->addWidget(m_pSize, 5, 3);
    pGrid->addWidget(m_pExternalInput, 6, 1, 1, 3);

    auto* pButtons = new QDialogButtonBox;
    QPushButton* pOk = pButtons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    QPushButton* pCancel = pButtons->addButton(QStringLiteral("キャンセル"), QDialogButtonBox::RejectRole);
    WithId(pOk, 1)->setDefault(true);
    WithId(pCancel, 2);
    connect(pButtons, &QDialogButtonBox::accepted, this, [this] { accept(); });
    connect(pButtons, &QDialogButtonBox::rejected, this, [this] { reject(); });

    auto* pLayout = new QVBoxLayout(this);
    pLayout->setContentsMargins(18, 18, 18, 14);
    pLayout->setSpacing(16);
    pLayout->addLayout(pGrid);
    pLayout->addStretch(1);
    pLayout->addWidget(pButtons);
    setMinimumWidth(fontMetrics().height() * 32);

    // Down the left column, then the right one, as the ids run.
    QWidget* const order[] = { m_pName, m_pFolder, m_pBrowse, m_pRecordSec, m_pRate, m_pCameraNumber, m_pShutter,
        m_pGain, m_pSize, m_pExternalInput, pOk, pCancel };
    for (std::size_t i = 1; i < std::size(order); ++i)
        setTabOrder(order[i - 1], order[i]);
    m_pName->setFocus();
}

void PropertySetDlg::Fill()
{
    CaptureParameters& parameters = m_doc.m_parameters;
    int iRate = 0;
    if (HighestFrameRate(m_doc, 0, iRate)) {
        m_pSize->addItems(ToList(ImageSizeTexts()));
        const int iSize = parameters.m_iImageSizeIndex;
        m_pSize->setCurrentIndex(iSize >= 0 && iSize < kImageSizes ? iSize : -1);
    } else {
        m_pSizeLabel->hide();
        m_pSize->setEnabled(false);
        m_pSize->hide();
    }
    FillRates();
    m_pShutter->addItems(ToList(ShutterTexts()));
    m_pShutter->setCurrentIndex(m_pShutter->findText(QString::fromStdString(ShutterText(parameters.m_iShutter))));
    m_pName->setText(QString::fromStdString(parameters.m_strPresetName));
    m_pGain->SetRange(parameters.m_iGainMinDb, parameters.m_iGainMaxDb);
    m_pGain->SetPosition(GainPosition(parameters.m_fGain, parameters.m_iGainMinDb, parameters.m_iGainMaxDb));
    m_pCameraNumber->SetRange(kFirstCameraMin, kFirstCameraMax);
    m_pCameraNumber->SetPosition(parameters.InitialCameraNumber);
    m_pRecordSec->SetRange(1, RecordSecMaximum(parameters, parameters.m_iFps));
    m_pRecordSec->SetPosition(parameters.m_iRecordSec);
    m_strFolder = m_doc.m_naming.m_strSaveFolder;
    m_pFolder->setText(QString::fromStdString(m_strFolder));
    m_pExternalInput->setChecked(!parameters.IsMaster);
}

void PropertySetDlg::Connect()
{
    connect(m_pRate, &QComboBox::currentIndexChanged, this, [this] { RateChanged(); });
    connect(m_pSize, &QComboBox::currentIndexChanged, this, [this] { SizeChanged(); });
    connect(m_pBrowse, &QAbstractButton::clicked, this, [this] { BrowseFolder(); });
}

int PropertySetDlg::SelectedRate() const
{
    return m_pRate->currentIndex() >= 0 ? RateOfText(m_pRate->currentText().toStdString()) : m_doc.m_parameters.m_iFps;
}

void PropertySetDlg::FillRates()
{
    const int iSelected = SelectedRate();
    int iSizeRate = 0;
    std::optional<int> sizeMaximum;
    if (m_pSize->isEnabled() && HighestFrameRate(m_doc, m_pSize->currentIndex(), iSizeRate))
        sizeMaximum = iSizeRate;
    const auto entries = FrameRateTexts(FrameRateCeiling(m_doc.m_parameters.m_iModelMaxFps, sizeMaximum));
    const QSignalBlocker quiet(m_pRate);
    m_pRate->clear();
    m_pRate->addItems(ToList(entries));
    m_pRate->setCurrentIndex(SelectRate(entries, iSelected));
}

void PropertySetDlg::RateChanged()
{
    const int iMaximum = RecordSecMaximum(m_doc.m_parameters, SelectedRate());
    m_pRecordSec->SetRange(1, iMaximum);
    const int iTyped = m_pRecordSec->Number();
    if (LimitedRecordSec(m_doc.m_parameters, SelectedRate(), iTyped) < iTyped)
        m_pRecordSec->SetPosition(iMaximum);
}

void PropertySetDlg::SizeChanged()
{
    FillRates();
    RateChanged();
}

void PropertySetDlg::BrowseFolder()
{
    std::string strError;
    const auto strNative = ToNativePath(m_doc.GetPlatform().paths, m_strFolder, strError);
    const auto strChosen = m_chooseFolder(this, QString::fromStdString(strNative.value_or(std::string())));
    if (!strChosen)
        return;
    m_strFolder = strChosen->toStdString();
    m_pFolder->setText(*strChosen);
}

void PropertySetDlg::accept()
{
    PropertyInput input;
    input.strName = m_pName->text().toStdString();
    input.strRate = m_pRate->currentText().toStdString();
    input.strRecordSec = m_pRecordSec->text().toStdString();
    input.strShutter = m_pShutter->currentText().toStdString();
    input.bSizeEnabled = m_pSize->isEnabled();
    input.iSizeSelection = m_pSize->currentIndex();
    input.strGain = m_pGain->text().toStdString();
    input.strCameraNumber = m_pCameraNumber->text().toStdString();
    input.bExternalInput = m_pExternalInput->isChecked();

    m_doc.m_parameters.PresetIndex = m_iPreset;
    const PropertyRefusal strRefusal = TakeInput(input, m_doc.m_parameters);
    if (!strRefusal.empty()) {
        m_doc.GetPlatform().window.ShowMessage({ strRefusal, {}, false });
        return;
    }
    m_doc.m_naming.m_strSaveFolder = m_strFolder;
    SaveRecordingPreset(m_doc);
    QDialog::accept();
}

void PropertySetDlg::reject()
{
    m_doc.m_parameters = m_before;
    m_doc.m_naming.m_strSaveFolder = m_strFolderBefore;
    QDialog::reject();
}

} // namespace vireo
