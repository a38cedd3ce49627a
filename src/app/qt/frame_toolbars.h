#pragma once
#include "app/qt/commands.h"

#include <QList>
#include <QSettings>
#include <QString>
#include <QTimer>
#include <memory>
#include <vector>

class QMainWindow;
class QMenu;
class QToolBar;

namespace vireo {

/// What stands on one toolbar.
struct ToolBarContent {
    QString strName;
    QList<int> commands; ///< 0 = separator
    bool bAutoHide = false; ///< folds to a strip at its edge until the pointer comes
    bool bVisible = true;
};

/// The toolbars of the main window: the standard one and those of the operator, what stands on them and
/// where they are docked, kept in the profile. User-interface thread.
class FrameToolBars {
public:
    FrameToolBars(QMainWindow& frame, const CommandActions& actions, QSettings& profile);
    ~FrameToolBars();

    /// As the profile has them; the standard bar alone when it has none.
    void Restore();
    void Store();

    /// An entry per toolbar that shows and hides it.
    void FillMenu(QMenu& menu);
    /// The customise dialog; the entry on each bar only gives its command.
    void Customize();

    [[nodiscard]] std::vector<ToolBarContent> Contents() const;
    /// Rebuilds the bars; the first one is the standard bar.
    void SetContents(const std::vector<ToolBarContent>& contents);
    static ToolBarContent StandardContent();

private:
    class Bar;
    void Fill(Bar& bar, const ToolBarContent& content);

    QMainWindow& m_frame;
    const CommandActions& m_actions;
    QSettings& m_profile;
    std::vector<std::unique_ptr<Bar>> m_bars;
};

} // namespace vireo
