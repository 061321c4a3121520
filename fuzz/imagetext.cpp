// The image text decoder: it gives what its grammar gives, however the text is cut.

#include "fuzztarget.h"

#include <algorithm>
#include <vector>

#include "imagetext.h"
#include "imagetextreference.h"

namespace {

/// Decodes the text in pieces of @p pieceBytes, each in memory of its own, so that a byte read past it is
/// seen.
QByteArray decodePieces(const QByteArray& text, int pieceBytes)
{
    ImageText::Decoder decoder;
    for (int at = 0; at < text.size(); at += pieceBytes) {
        const std::vector<char> piece(text.begin() + at,
                                      text.begin() + std::min(at + pieceBytes, text.size()));
        if (!decoder.feed(piece.data(), static_cast<int>(piece.size())))
            return QByteArray();
    }
    return decoder.takeImage();
}

} // namespace

/// The first byte tells where the text, which follows it, is cut.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray text = FuzzTarget::lend(data + 1, size - 1);
    const QByteArray image = ImageTextReference::decode(text);
    FuzzTarget::require(decodePieces(text, std::max(text.size(), 1)) == image,
                        "the decoder and its grammar differ");
    FuzzTarget::require(decodePieces(text, std::max<int>(data[0], 1)) == image, "a cut changes the image");
    return 0;
}
