#include "translation.h"

#include <QCoreApplication>
#include <QTranslator>

#include "internationalization.h"

void installTranslation()
{
    if (!Internationalization::instance()->isEnglish())
        return;
    auto *translator = new QTranslator(QCoreApplication::instance());
    if (translator->load(":/probix_en.qm", "", "", ""))
        QCoreApplication::installTranslator(translator);
    else
        delete translator;
}
