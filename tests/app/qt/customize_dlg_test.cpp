#include "app/qt/customize_dlg.h"
#include "support/qt_tools.h"

#include <QAction>
#include <QListWidget>
#include <QPushButton>

namespace vireo {
namespace {

class CustomizeDlgTest : public testing::Test {
protected:
    CustomizeDlgTest()
    {
        for (const CommandRow& row : CommandTable()) {
            m_owned.push_back(std::make_unique<QAction>(QString::fromUtf8(row.pText)));
            m_actions.insert(row.iId, m_owned.back().get());
        }
        m_dialog =
            std::make_unique<CustomizeDlg>(std::vector<ToolBarContent> { FrameToolBars::StandardContent() }, m_actions);
    }
    void Click(const char* pName)
    {
        auto* pButton = m_dialog->findChild<QPushButton*>(QString::fromLatin1(pName));
        ASSERT_NE(pButton, nullptr) << pName;
        pButton->click();
    }
    QListWidget& List(const char* pName) { return *m_dialog->findChild<QListWidget*>(QString::fromLatin1(pName)); }
    void Choose(int iCommand)
    {
        QListWidget& available = List("available");
        for (int i = 0; i < available.count(); ++i)
            if (available.item(i)->data(Qt::UserRole).toInt() == iCommand)
                available.setCurrentRow(i);
    }

    std::vector<std::unique_ptr<QAction>> m_owned;
    CommandActions m_actions;
    std::unique_ptr<CustomizeDlg> m_dialog;
};

TEST_F(CustomizeDlgTest, PutsCommandsOnAToolBarOfTheOperator)
{
    m_dialog->AddToolBar(QStringLiteral("私のバー"));
    Choose(menu::kPanel);
    Click("add");
    Choose(menu::kAbout);
    Click("add");
    EXPECT_EQ(m_dialog->Contents()[1].commands, QList<int>({ menu::kPanel, menu::kAbout }));
    Click("up");
    EXPECT_EQ(m_dialog->Contents()[1].commands, QList<int>({ menu::kAbout, menu::kPanel }));
    Click("down");
    Click("remove");
    EXPECT_EQ(m_dialog->Contents()[1].commands, QList<int>({ menu::kPanel }));
    EXPECT_EQ(List("commands").item(0)->text(), QStringLiteral("ｶﾒﾗｺﾝﾄﾛｰﾙ")) << "without mnemonic";
}

TEST_F(CustomizeDlgTest, StandardBarIsResetNotDeleted)
{
    Choose(menu::kTileRows);
    Click("add");
    EXPECT_NE(m_dialog->Contents()[0].commands, FrameToolBars::StandardContent().commands);
    EXPECT_FALSE(m_dialog->findChild<QPushButton*>(QStringLiteral("delete"))->isEnabled());
    Click("reset");
    EXPECT_EQ(m_dialog->Contents()[0].commands, FrameToolBars::StandardContent().commands);
}

TEST_F(CustomizeDlgTest, OwnBarsCanBeDeletedAndHidden)
{
    m_dialog->AddToolBar(QStringLiteral("a"));
    m_dialog->AddToolBar(QStringLiteral("b"));
    List("toolbars").item(2)->setCheckState(Qt::Unchecked);
    EXPECT_FALSE(m_dialog->Contents()[2].bVisible);
    m_dialog->SelectToolBar(1);
    Click("delete");
    ASSERT_EQ(m_dialog->Contents().size(), 2U);
    EXPECT_EQ(m_dialog->Contents()[1].strName, QStringLiteral("b"));
}

} // namespace
} // namespace vireo
