// The board's device parameters, read from the F-RAM chip once, and the language that they choose.
#pragma once

#include <QByteArray>
#include <QObject>

class QApplication;

class Fram : public QObject
{
    Q_OBJECT

public:
    /** The one instance. The first call opens the chip, prints its identification and loads the
     *  block; the instance lives until the process ends. */
    static Fram *getInstance();

    explicit Fram(QObject *parent);

    // --- Parameter block ----------------------------------------------------------------------
    /** The copy of the block in memory: empty at first, 200 bytes once loaded. */
    QByteArray *get_param_buffer();

    /**
     * Fills the buffer: from the chip when the marker file /quenfold/configs/initedFram exists,
     * with zeros when it does not or when the chip cannot be read.
     * @return false only when there is no buffer
     */
    bool load_param();

    /** @param index 0 to 99
     *  @return the parameter's two bytes, low byte first; empty when the index is out of range */
    QByteArray getparam(int index);

    // --- Language -----------------------------------------------------------------------------
    /** @return parameter 10: 1 Traditional Chinese, 2 Simplified Chinese, any other value English
     */
    quint16 getLanguageID();

    /** Shows the program in the language of the parameter block. To be called before any widget
     *  exists: what exists is not translated again. @param app not used */
    void applyTranslator(QApplication *app);

    /** Installs the catalogue of a language, or removes the one that is installed when the language
     *  has none. */
    void translate(int languageId);

private:
    static Fram *m_fram;
};
