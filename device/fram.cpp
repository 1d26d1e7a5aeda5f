#include "device/fram.h"

#include "core/boardpaths.h"
#include "device/fm25v02.h"

#include <QCoreApplication>
#include <QDebug>
#include <QTranslator>
#include <new>
#include <sys/stat.h>

Fram *Fram::m_fram = nullptr;

namespace
{

constexpr unsigned BlockAddress = 0x0004; ///< in the F-RAM
constexpr int BlockLength = 200;
constexpr int ParameterLength = 2;
constexpr int LanguageParameter = 10;

QByteArray *param_buffer = nullptr;
QTranslator *GLOBAL_TRANSLATOR = nullptr;

/** @return file name of the translation; empty for a language without one */
QString catalogue(int languageId)
{
    switch (languageId) {
    case 1:
        return QStringLiteral("corvanta_zh_TW.qm");
    case 2:
        return QStringLiteral("corvanta_zh_CN.qm");
    default:
        return QString();
    }
}

} // namespace

Fram *Fram::getInstance()
{
    return m_fram != nullptr ? m_fram : new Fram(nullptr);
}

Fram::Fram(QObject *parent) : QObject(parent)
{
    m_fram = this;
    FM25V02_Init();
    FM25V02_RDID();
    load_param();
}

QByteArray *Fram::get_param_buffer()
{
    if (param_buffer != nullptr)
        return param_buffer;
    param_buffer = new (std::nothrow) QByteArray;
    if (param_buffer == nullptr)
        qDebug() << "param_buffer allocated failed!!!!";
    else
        param_buffer->reserve(BlockLength);
    return param_buffer;
}

bool Fram::load_param()
{
    QByteArray *buffer = get_param_buffer();
    if (buffer == nullptr) {
        qDebug() << "Get parameter buffer failed!!!\n";
        return false;
    }
    char block[BlockLength] = {};
    struct stat info;
    if (::stat(boardpaths::ChipMarkerFile, &info) == 0)
        FM25V02_READ(BlockAddress, block, BlockLength);
    *buffer = QByteArray(block, BlockLength);
    return true;
}

QByteArray Fram::getparam(int index)
{
    // Compare the index, not the offset: doubling a huge index would overflow.
    if (index >= 0 && index < BlockLength / ParameterLength && param_buffer != nullptr)
        return param_buffer->mid(qsizetype(ParameterLength) * index, ParameterLength);
    qDebug() << "address exceed";
    return QByteArray();
}

quint16 Fram::getLanguageID()
{
    const QByteArray bytes = getparam(LanguageParameter);
    if (bytes.size() < ParameterLength)
        return 0;
    return static_cast<quint16>(static_cast<uchar>(bytes[0]) | static_cast<uchar>(bytes[1]) << 8);
}

void Fram::applyTranslator(QApplication *)
{
    const quint16 id = getLanguageID();
    qDebug() << "langid" << id;
    translate(id);
}

void Fram::translate(int languageId)
{
    bool loaded = false;
    if (const QString file = catalogue(languageId); !file.isEmpty()) {
        if (GLOBAL_TRANSLATOR == nullptr)
            GLOBAL_TRANSLATOR = new QTranslator(QCoreApplication::instance());
        loaded = GLOBAL_TRANSLATOR->load(file, QStringLiteral(":/"));
    }
    qDebug() << "load translator" << loaded;
    if (loaded) {
        QCoreApplication::installTranslator(GLOBAL_TRANSLATOR);
    } else {
        delete GLOBAL_TRANSLATOR; // Its destructor removes it from the application.
        GLOBAL_TRANSLATOR = nullptr;
    }
}
