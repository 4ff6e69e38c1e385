#pragma once

#include <QString>

namespace tarlox {

class Session;

// What a control's tag string says about the setting behind it.
struct SettingsTag {
    QString section;  // empty: the control takes no part
    QString item;     // key, or with "ClientOptions" the bit number counted from 1
    QString value;    // an option button's value
    bool encrypt = false;

    bool bound() const { return !section.isEmpty(); }
    bool clientOptions() const;
};

// Reads the keys Section, Item, Value and Encrypt of a tag string.
SettingsTag GetTags(const QString& tag);

// The stored side of tag-bound controls: keys of the local settings file,
// and the bits of the Options row's ClientOptions. Screens hand it what a
// control shows; it answers what is stored, whether they differ, and writes.
class SettingsBinding {
public:
    explicit SettingsBinding(Session& session) : session_(session) {}

    // The text a text box shows: the stored text, deciphered when so tagged.
    QString storedText(const SettingsTag& tag);
    // A check box: the key reads "True", or the ClientOptions bit is set.
    bool storedCheck(const SettingsTag& tag);
    // An option button: the key equals the tag's value.
    bool storedOption(const SettingsTag& tag);

    bool textDiffers(const SettingsTag& tag, const QString& text);
    bool checkDiffers(const SettingsTag& tag, bool checked);
    // Only an option button that is on can differ.
    bool optionDiffers(const SettingsTag& tag, bool checked);

    // Saving: begin reads the Options row afresh, so that writing
    // ClientOptions back can't undo another machine's counter; finish writes
    // the row when a bit changed.
    bool beginSave();
    void saveText(const SettingsTag& tag, const QString& text);
    void saveCheck(const SettingsTag& tag, bool checked);
    void saveOption(const SettingsTag& tag, bool checked);
    bool finishSave();

private:
    QString raw(const SettingsTag& tag);
    qint32 mask(const SettingsTag& tag) const;

    Session& session_;
    bool clientOptionsChanged_ = false;
};

}  // namespace tarlox
