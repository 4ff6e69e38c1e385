#include "shell/SettingsBinding.h"

#include "data/OptionsData.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "base/TextTools.h"

#include <QFile>

namespace tarlox {

bool SettingsTag::clientOptions() const
{
    return section.compare(QLatin1String("ClientOptions"), Qt::CaseInsensitive) == 0;
}

SettingsTag GetTags(const QString& tag)
{
    SettingsTag result;
    result.section = GetTag(tag, QStringLiteral("Section")).trimmed();
    result.item = GetTag(tag, QStringLiteral("Item")).trimmed();
    result.value = GetTag(tag, QStringLiteral("Value"));
    result.encrypt = BoolFromIni(GetTag(tag, QStringLiteral("Encrypt")).trimmed());
    return result;
}

QString SettingsBinding::raw(const SettingsTag& tag)
{
    return GetLocal(session_, tag.section, tag.item);
}

qint32 SettingsBinding::mask(const SettingsTag& tag) const
{
    return ShiftBits(1, IntVal(tag.item) - 1);
}

QString SettingsBinding::storedText(const SettingsTag& tag)
{
    const QString stored = raw(tag);
    return tag.encrypt ? Decrypt(stored) : stored;
}

bool SettingsBinding::storedCheck(const SettingsTag& tag)
{
    if (tag.clientOptions())
        return (session_.options.clientOptions & mask(tag)) != 0;
    return BoolFromIni(raw(tag));
}

bool SettingsBinding::storedOption(const SettingsTag& tag)
{
    return raw(tag) == tag.value;
}

bool SettingsBinding::textDiffers(const SettingsTag& tag, const QString& text)
{
    return (tag.encrypt ? Encrypt(text) : text) != raw(tag);
}

bool SettingsBinding::checkDiffers(const SettingsTag& tag, bool checked)
{
    return checked != storedCheck(tag);
}

bool SettingsBinding::optionDiffers(const SettingsTag& tag, bool checked)
{
    return checked && !storedOption(tag);
}

bool SettingsBinding::beginSave()
{
    clientOptionsChanged_ = false;
    return ReadOptions(session_);
}

void SettingsBinding::saveText(const SettingsTag& tag, const QString& text)
{
    PutLocal(session_, tag.section, tag.item, tag.encrypt ? Encrypt(text) : text);
    // The cipher only hides a password from a glance: a file that holds one
    // is for its owner's eyes only.
    if (tag.encrypt)
        QFile::setPermissions(session_.localIni, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

void SettingsBinding::saveCheck(const SettingsTag& tag, bool checked)
{
    if (!tag.clientOptions()) {
        PutLocal(session_, tag.section, tag.item, BoolToIni(checked));
        return;
    }
    qint32& bits = session_.options.clientOptions;
    const qint32 before = bits;
    bits = checked ? (bits | mask(tag)) : (bits & ~mask(tag));
    if (bits != before)
        clientOptionsChanged_ = true;
}

void SettingsBinding::saveOption(const SettingsTag& tag, bool checked)
{
    if (checked)
        PutLocal(session_, tag.section, tag.item, tag.value);
}

bool SettingsBinding::finishSave()
{
    if (!clientOptionsChanged_)
        return true;
    clientOptionsChanged_ = false;
    return UpdateOptions(session_);
}

}  // namespace tarlox
