// Fuzzes the decoder of image text. The decoder must produce the same image as the reference decoder, however
// the text is cut into pieces.

#include "fuzztarget.h"

#include <algorithm>
#include <vector>

#include "imagetext.h"
#include "imagetextreference.h"

namespace {

/// Decodes the text in pieces of @p pieceBytes, each in separate memory so that the sanitizer sees overruns.
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

/// The first byte of the input is the size of the pieces. The rest is the text.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray text = FuzzTarget::lend(data + 1, size - 1);
    const QByteArray image = ImageTextReference::decode(text);
    FuzzTarget::require(decodePieces(text, std::max(text.size(), 1)) == image,
                        "decoder and reference differ");
    FuzzTarget::require(decodePieces(text, std::max<int>(data[0], 1)) == image,
                        "the image depends on how the text is cut");
    return 0;
}
