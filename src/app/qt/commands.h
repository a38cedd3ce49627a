#pragma once
#include <QHash>
#include <QString>
#include <span>

class QAction;

namespace vireo {

/// Menu commands of the main frame, by id; the framework's own ids where it has one.
namespace menu {
constexpr int kSaveAvi = 57603;
constexpr int kPrint = 57607;
constexpr int kPrintDirect = 57608; ///< on the usual printer, without asking; posted only
constexpr int kRecentFile1 = 57616; ///< to 57619
constexpr int kRecentFiles = 4;
constexpr int kExit = 57665;
constexpr int kUndo = 57643;
constexpr int kCut = 57635;
constexpr int kCopy = 57634;
constexpr int kPaste = 57637;
constexpr int kToolBar = 59392;
constexpr int kStatusBar = 59393;
constexpr int kCustomize = 33002;
constexpr int kLookFirst = 210; ///< to 218
constexpr int kLookLast = 218;
constexpr int kPanel = 32771;
constexpr int kPanelPosition = 32778;
constexpr int kCascade = 57650;
constexpr int kTileRows = 57651;
constexpr int kTileColumns = 57652;
constexpr int kAbout = 57664;
} // namespace menu

/// One command as menus and toolbars show it.
struct CommandRow {
    int iId;
    const char* pText; ///< with mnemonic
    const char* pShortcut; ///< empty: none
    const char* pTip; ///< status bar text
    bool bOnToolBar; ///< may stand on a toolbar
};
std::span<const CommandRow> CommandTable();

using CommandActions = QHash<int, QAction*>;

/// The command's text without mnemonic and dots.
QString PlainCommandText(const QAction& action);

} // namespace vireo
