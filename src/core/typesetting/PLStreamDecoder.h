#pragma once

#include "core/foundation/PLStringEncoding.h"

#include <QByteArrayView>
#include <QString>

#include <memory>
#include <optional>

struct UConverter;

// Decodes a stream of bytes that arrives in pieces cut anywhere, such as a program's output read
// from a pipe: a character whose bytes are split between two pieces is held back until the rest of
// it arrives, instead of making the first piece undecodable. A piece that holds bytes which truly
// do not decode in the encoding gives no text at all, and decoding starts afresh after it.
class PLStreamDecoder
{
public:
    explicit PLStreamDecoder(PLStringEncoding encoding);
    ~PLStreamDecoder();
    PLStreamDecoder(const PLStreamDecoder &) = delete;
    PLStreamDecoder &operator=(const PLStreamDecoder &) = delete;

    // The text of the piece, without a character still incomplete at its end; nothing when the
    // piece does not decode (or the encoding is unknown).
    std::optional<QString> decode(QByteArrayView bytes);

private:
    struct ConverterCloser
    {
        void operator()(UConverter *converter) const;
    };
    std::unique_ptr<UConverter, ConverterCloser> m_converter;
};
