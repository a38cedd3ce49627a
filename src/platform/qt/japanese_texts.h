#pragma once
#include <QTranslator>

class QApplication;

namespace vireo {

/// The toolkit's own texts (buttons, file dialogs, edit menus, child frames) in Japanese.
class JapaneseTexts : public QTranslator {
public:
    QString translate(const char* pContext, const char* pSource, const char* pDisambiguation = nullptr,
        int iNumber = -1) const override;
    bool isEmpty() const override { return false; }
};

/// Makes the program speak Japanese: texts, font choice between the Han variants, dates. Numbers keep the
/// point of the "C" locale.
void InstallJapanese(QApplication& application);

} // namespace vireo
