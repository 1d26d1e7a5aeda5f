// Device parameters, read once from the F-RAM chip, and the language that they select.
#pragma once

#include <QByteArray>
#include <QObject>

class QApplication;

class Fram : public QObject
{
    Q_OBJECT

public:
    /** Return the singleton, which is never deleted. The first call opens the chip, logs its device
     *  ID and loads the parameter block. */
    [[nodiscard]] static Fram *getInstance();

    explicit Fram(QObject *parent);

    // --- Parameter block ----------------------------------------------------------------------
    /** Return the copy of the parameter block in memory: 200 bytes; empty before it is loaded.
     *  @return null when memory ran out */
    [[nodiscard]] QByteArray *get_param_buffer();

    /**
     * Fill the buffer from the chip. Fill it with zeros when the marker file is missing or the read
     * fails.
     * @return false when the buffer could not be allocated
     */
    bool load_param();

    /** @param index 0 to 99
     *  @return the parameter's two bytes, low byte first; empty when the index is out of range */
    [[nodiscard]] QByteArray getparam(int index);

    // --- Language -----------------------------------------------------------------------------
    /** @return parameter 10: 1 Traditional Chinese, 2 Simplified Chinese, any other value English
     *          (0 when the chip could not be read) */
    [[nodiscard]] quint16 getLanguageID();

    /** Install the translation for the language in the parameter block. Call before creating
     *  widgets: existing widgets keep their texts. @param app unused */
    void applyTranslator(QApplication *app);

    /** Install the translation for a language. For a language without one, remove the installed
     *  translation. */
    void translate(int languageId);

private:
    static Fram *m_fram;
};
