#pragma once

#include "core/foundation/PLError.h"

#include <QByteArray>
#include <QString>

#include <optional>

// Text encodings by the platform's string-encoding numbers, which are what the settings store.
using PLStringEncoding = quint32;

namespace PLStringEncodings {
inline constexpr PLStringEncoding ASCII = 1;
inline constexpr PLStringEncoding UTF8 = 4;
inline constexpr PLStringEncoding ISOLatin1 = 5;
inline constexpr PLStringEncoding ISOLatin2 = 9;
inline constexpr PLStringEncoding Unicode = 10;
inline constexpr PLStringEncoding WindowsCP1251 = 11;
inline constexpr PLStringEncoding WindowsCP1252 = 12;
inline constexpr PLStringEncoding WindowsCP1250 = 15;
inline constexpr PLStringEncoding MacOSRoman = 30;
inline constexpr PLStringEncoding UTF16BigEndian = 0x90000100;
inline constexpr PLStringEncoding UTF16LittleEndian = 0x94000100;

// The ICU converter name for an encoding number, or an empty string for one we do not know.
QString converterName(PLStringEncoding encoding);
bool isKnown(PLStringEncoding encoding);

// Strict decoding: any byte sequence that is not valid in the encoding makes it fail.
std::optional<QString> decode(const QByteArray &bytes, PLStringEncoding encoding, PLError *error = nullptr);
// Strict encoding: a character the encoding cannot represent makes it fail.
std::optional<QByteArray> encode(const QString &text, PLStringEncoding encoding, PLError *error = nullptr);
}
