#include "app/qt/verdict_text.h"

#include "app/settings_records.h"

#include <QStringList>

namespace vireo {

namespace {

QString GapText(const TakeReport& report)
{
    QStringList cameras;
    for (const CameraReport& camera : report.cameras) {
        int iMissing = 0;
        for (const Gap& gap : camera.gaps)
            iMissing += gap.iMissing;
        if (iMissing > 0)
            cameras.append(
                QStringLiteral("%1：%2").arg(QString::fromStdString(ViewSection(camera.iNumber))).arg(iMissing));
    }
    return cameras.isEmpty() ? QString() : QStringLiteral("(%1)").arg(cameras.join(QStringLiteral("、")));
}

QString Judgement(const TakeReport& report)
{
    switch (report.eVerdict) {
    case Verdict::InSync: return QStringLiteral("同期しています。");
    case Verdict::FramesMissed: return QStringLiteral("ﾌﾚｰﾑの欠落があります。%1").arg(GapText(report));
    case Verdict::OutOfSync: return QStringLiteral("同期がずれています。");
    case Verdict::NotChecked: break;
    }
    return QStringLiteral("同期は確認できません。");
}

} // namespace

QString TakeVerdictText(const TakeReport& report)
{
    int iFrames = report.iFrames;
    for (const CameraReport& camera : report.cameras)
        iFrames = std::min(iFrames, camera.iFrames);
    return QStringLiteral("録画完了：%1ﾌﾚｰﾑ　%2").arg(iFrames).arg(Judgement(report));
}

} // namespace vireo
