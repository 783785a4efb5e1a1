#include "core/typesetting/PLStreamDecoder.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

void PLStreamDecoder::ConverterCloser::operator()(UConverter *converter) const
{
    ucnv_close(converter);
}

PLStreamDecoder::PLStreamDecoder(PLStringEncoding encoding)
{
    const QString name = PLStringEncodings::converterName(encoding);
    if (name.isEmpty())
        return;
    UErrorCode status = U_ZERO_ERROR;
    m_converter.reset(ucnv_open(name.toLatin1().constData(), &status));
    if (U_FAILURE(status)) {
        m_converter.reset();
        return;
    }
    // Strict, as every other decoding of ours: invalid bytes stop the conversion.
    ucnv_setToUCallBack(m_converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
}

PLStreamDecoder::~PLStreamDecoder() = default;

std::optional<QString> PLStreamDecoder::decode(QByteArrayView bytes)
{
    if (!m_converter)
        return std::nullopt;
    if (bytes.isEmpty())
        return QString();
    // No encoding makes more UTF-16 units than bytes, counting the few held back from before.
    QString text(bytes.size() + 8, Qt::Uninitialized);
    UChar *target = reinterpret_cast<UChar *>(text.data());
    const char *source = bytes.data();
    UErrorCode status = U_ZERO_ERROR;
    for (;;) {
        UChar *const begin = reinterpret_cast<UChar *>(text.data());
        ucnv_toUnicode(m_converter.get(), &target, begin + text.size(), &source, bytes.data() + bytes.size(), nullptr,
                       false, &status);
        if (status != U_BUFFER_OVERFLOW_ERROR)
            break;
        const qsizetype written = target - begin;
        text.resize(text.size() * 2);
        target = reinterpret_cast<UChar *>(text.data()) + written;
        status = U_ZERO_ERROR;
    }
    if (U_FAILURE(status)) {
        ucnv_reset(m_converter.get());
        return std::nullopt;
    }
    text.truncate(target - reinterpret_cast<UChar *>(text.data()));
    return text;
}
