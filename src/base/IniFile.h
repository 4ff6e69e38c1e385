#pragma once

#include <QString>

namespace tarlox {

// The settings-file reader and writer. Files are plain "[Section]" /
// "Key=Value" text; section and key names compare without regard to case;
// a value runs from behind "=" to the end of its line. Lines are written with
// CR LF and read with CR LF, LF or CR.
struct IniResult {
    bool ok = true;
    QString value;
    QString error;  // "Can't open PATH for reading" and the like
};

// Value of a key; empty when the key or its section is missing. A missing
// file is created empty, as the original reader did.
IniResult ReadIniValue(const QString& path, const QString& section, const QString& key);

// Writes a key, adding the section and key when needed, keeping every other
// line. The whole read-modify-write runs under an advisory lock beside the
// file and replaces the file in one rename, so concurrent writers never lose
// each other's keys and a crash never leaves half a file.
IniResult WriteIniValue(const QString& path, const QString& section, const QString& key, const QString& value);

// The text transformation of WriteIniValue, on a file's whole content.
QString ApplyIniWrite(const QString& content, const QString& section, const QString& key, const QString& value);

// Decodes a settings file: UTF-8 when valid, else Latin-1 (files from older installations).
QString DecodeIniBytes(const QByteArray& bytes);

}  // namespace tarlox
