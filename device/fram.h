// The board's device parameters, read from the F-RAM chip once, and the language that they choose.
#pragma once

#include <QByteArray>
#include <QObject>

class QApplication;

class Fram : public QObject
{
    Q_OBJECT

public:
    /** Gives the one instance, which lives until the process ends. The first call opens the chip,
     *  logs its identification and loads the block. */
    static Fram *getInstance();

    explicit Fram(QObject *parent);

    // --- Parameter block ----------------------------------------------------------------------
    /** The copy of the block in memory: 200 bytes, or none before it is loaded. */
    QByteArray *get_param_buffer();

    /**
     * Fills the buffer from the chip, or with zeros when the marker file is missing or the read
     * fails.
     * @return false when memory for the buffer ran out
     */
    bool load_param();

    /** @param index 0 to 99
     *  @return the parameter's two bytes, low byte first; empty when the index is out of range */
    QByteArray getparam(int index);

    // --- Language -----------------------------------------------------------------------------
    /** @return parameter 10: 1 Traditional Chinese, 2 Simplified Chinese, any other value English
     *          (0 when the chip could not be read) */
    quint16 getLanguageID();

    /** Installs the catalogue of the parameter block's language. Must be called before any widget
     *  exists, because a widget keeps its texts. @param app not used */
    void applyTranslator(QApplication *app);

    /** Installs the catalogue of a language. For a language without one, the installed catalogue is
     *  removed. */
    void translate(int languageId);

private:
    static Fram *m_fram;
};
