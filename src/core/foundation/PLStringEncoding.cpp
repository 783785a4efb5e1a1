#include "core/foundation/PLStringEncoding.h"

#include "core/foundation/PLLogging.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

#include <QStringDecoder>

#include <limits>
#include <memory>

namespace PLStringEncodings {

namespace {
const QString kDomain = QStringLiteral("PLStringEncoding");

struct ConverterCloser
{
    void operator()(UConverter *converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, ConverterCloser>;

Converter openStrictConverter(PLStringEncoding encoding, PLError *error)
{
    const QString name = converterName(encoding);
    if (name.isEmpty()) {
        PLSetError(error, kDomain, 1, QStringLiteral("unknown text encoding %1").arg(encoding));
        return nullptr;
    }
    UErrorCode status = U_ZERO_ERROR;
    Converter converter(ucnv_open(name.toLatin1().constData(), &status));
    if (U_FAILURE(status)) {
        PLSetError(error, kDomain, 2, QStringLiteral("no converter for %1: %2").arg(name, QLatin1String(u_errorName(status))));
        return nullptr;
    }
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    return converter;
}
}

QString converterName(PLStringEncoding encoding)
{
    switch (encoding) {
    case ASCII: return QStringLiteral("US-ASCII");
    case UTF8: return QStringLiteral("UTF-8");
    case ISOLatin1: return QStringLiteral("ISO-8859-1");
    case ISOLatin2: return QStringLiteral("ISO-8859-2");
    case Unicode: return QStringLiteral("UTF-16");
    case WindowsCP1251: return QStringLiteral("windows-1251");
    case WindowsCP1252: return QStringLiteral("windows-1252");
    case WindowsCP1250: return QStringLiteral("windows-1250");
    case MacOSRoman: return QStringLiteral("macintosh");
    case UTF16BigEndian: return QStringLiteral("UTF-16BE");
    case UTF16LittleEndian: return QStringLiteral("UTF-16LE");
    default: return QString();
    }
}

bool isKnown(PLStringEncoding encoding)
{
    return !converterName(encoding).isEmpty();
}

std::optional<QString> decode(const QByteArray &bytes, PLStringEncoding encoding, PLError *error)
{
    if (encoding == UTF8) {
        // Qt's decoder is several times faster than a converter; it keeps a byte order mark as ICU
        // does. Text it finds wrong is left to ICU, whose strict answer and message stay the rule.
        QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom | QStringDecoder::Flag::Stateless);
        QString text = utf8(bytes);
        if (!utf8.hasError())
            return text;
    }
    Converter converter = openStrictConverter(encoding, error);
    if (!converter)
        return std::nullopt;
    if (bytes.size() > std::numeric_limits<int32_t>::max() / 2) {
        PLSetError(error, kDomain, 3, QStringLiteral("file too large to decode"));
        return std::nullopt;
    }
    // Every byte yields at most two UTF-16 units in the encodings we map.
    QString result(bytes.size() * 2 + 1, Qt::Uninitialized);
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = ucnv_toUChars(converter.get(), reinterpret_cast<UChar *>(result.data()),
                                         int32_t(result.size()), bytes.constData(), int32_t(bytes.size()), &status);
    if (U_FAILURE(status)) {
        PLSetError(error, kDomain, 4,
                   QStringLiteral("the text is not valid %1").arg(converterName(encoding)));
        return std::nullopt;
    }
    result.truncate(length);
    return result;
}

std::optional<QByteArray> encode(const QString &text, PLStringEncoding encoding, PLError *error)
{
    Converter converter = openStrictConverter(encoding, error);
    if (!converter)
        return std::nullopt;
    if (text.size() > std::numeric_limits<int32_t>::max() / 4) {
        PLSetError(error, kDomain, 3, QStringLiteral("text too large to encode"));
        return std::nullopt;
    }
    QByteArray result(qsizetype(UCNV_GET_MAX_BYTES_FOR_STRING(text.size(), ucnv_getMaxCharSize(converter.get()))) + 1,
                      Qt::Uninitialized);
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = ucnv_fromUChars(converter.get(), result.data(), int32_t(result.size()),
                                           reinterpret_cast<const UChar *>(text.utf16()), int32_t(text.size()),
                                           &status);
    if (U_FAILURE(status)) {
        PLSetError(error, kDomain, 5,
                   QStringLiteral("the text holds characters that %1 cannot represent").arg(converterName(encoding)));
        return std::nullopt;
    }
    result.truncate(length);
    return result;
}

}
