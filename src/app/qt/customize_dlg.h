#pragma once
#include "app/qt/frame_toolbars.h"

#include <QDialog>

class QCheckBox;
class QListWidget;
class QPushButton;

namespace vireo {

/// Lets the operator make toolbars and choose what stands on them.
class CustomizeDlg : public QDialog {
public:
    CustomizeDlg(std::vector<ToolBarContent> contents, const CommandActions& actions, QWidget* pParent = nullptr);
    [[nodiscard]] const std::vector<ToolBarContent>& Contents() const { return m_contents; }

    // What the buttons do; the first toolbar cannot be renamed or deleted.
    void AddToolBar(const QString& strName);
    void SelectToolBar(int iToolBar);

private:
    void LayOut();
    void Connect();
    void FillToolBars(int iSelect);
    void FillCommands();
    void FillAvailable();
    void RenameToolBar();
    void DeleteToolBar();
    void ResetToolBar();
    void AddCommand();
    void RemoveCommand();
    void MoveCommand(int iStep);
    [[nodiscard]] ToolBarContent* Current();
    [[nodiscard]] QString TextOf(int iCommand) const;

    std::vector<ToolBarContent> m_contents;
    const CommandActions& m_actions;
    QListWidget* m_pToolBars;
    QListWidget* m_pAvailable;
    QListWidget* m_pCommands;
    QCheckBox* m_pAutoHide;
    QPushButton* m_pNew;
    QPushButton* m_pRename;
    QPushButton* m_pDelete;
    QPushButton* m_pReset;
    QPushButton* m_pAdd;
    QPushButton* m_pRemove;
    QPushButton* m_pUp;
    QPushButton* m_pDown;
};

} // namespace vireo
