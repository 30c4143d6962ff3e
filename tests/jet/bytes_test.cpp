// The engine's one byte reader: the same answers on std::byte and uint8_t buffers, reads past
// the end give 0 and writes past the end change nothing (a short page cannot reach outside it).
#include "jet/bytes.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>


namespace qorvane::jet {
namespace {

TEST(BytesTest, ReadsAgreeOnBothBufferKindsAndStopAtTheEnd) {
  const std::vector<std::uint8_t> raw = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08};
  const std::span<const std::byte> as_bytes = std::as_bytes(std::span(raw));
  EXPECT_EQ(Get16(raw, 0), 0x0201);
  EXPECT_EQ(Get24(raw, 1), 0x040302u);
  EXPECT_EQ(Get32(as_bytes, 4), 0x08070605u);
  EXPECT_EQ(Get64(raw, 0), 0x0807060504030201ull);
  EXPECT_EQ(GetBig32(raw, 0), 0x01020304u);  // index row pointers
  EXPECT_EQ(Get32(raw, 6), 0x0807u);          // the two bytes past the end read as 0
  EXPECT_EQ(Get8(as_bytes, 8), 0);
  EXPECT_EQ(GetBig32(raw, 7), 0x08000000u);
}

TEST(BytesTest, WritesPastTheEndAreDroppedAndAppendsAreLittleEndian) {
  std::array<std::uint8_t, 6> page{};
  Put32(page, 4, 0xAABBCCDD);  // only DD CC fit
  EXPECT_EQ(page[4], 0xDD);
  EXPECT_EQ(page[5], 0xCC);
  std::vector<std::byte> other(4);
  Put16(other, 1, 0x1234);
  EXPECT_EQ(Get16(other, 1), 0x1234);
  std::vector<std::uint8_t> out;
  Append16(out, 0x0102);
  Append32(out, 0x03040506);
  AppendBig32(out, 0x0708090A);
  EXPECT_EQ(out, (std::vector<std::uint8_t>{0x02, 0x01, 0x06, 0x05, 0x04, 0x03, 0x07, 0x08, 0x09, 0x0A}));
  EXPECT_EQ(RowPointer::Decode(RowPointer{0x123456, 7}.Encode()), (RowPointer{0x123456, 7}));
}

}  // namespace
}  // namespace qorvane::jet
