// The bytes of a hand-over request: pinned as literals, cut anywhere, and refused over the limit
// or when malformed.

#include "toolkit/core/hand_over_request.h"

#include <gtest/gtest.h>

namespace {

using toolkit::decodeHandOverRequest;
using toolkit::encodeHandOverRequest;
using toolkit::HandOverDecode;
using toolkit::kMaxHandOverRequestBytes;
using Bytes = std::vector<std::uint8_t>;
using Parts = std::vector<std::string>;
using Status = HandOverDecode::Status;

Bytes bytesOf(std::initializer_list<int> values) {
  Bytes out;
  for (int v : values) out.push_back(static_cast<std::uint8_t>(v));
  return out;
}

Bytes operator+(Bytes a, const std::string& text) {
  a.insert(a.end(), text.begin(), text.end());
  return a;
}

HandOverDecode decode(const Bytes& bytes) {
  return decodeHandOverRequest(bytes.data(), bytes.size());
}

TEST(HandOverRequestTest, EncodesASizeThenEachPartWithItsSize) {
  EXPECT_EQ(encodeHandOverRequest({"raise"}), bytesOf({9, 0, 0, 0, 5, 0, 0, 0}) + "raise");
  EXPECT_EQ(encodeHandOverRequest({"open", "/a", ""}), bytesOf({18, 0, 0, 0, 4, 0, 0, 0}) + "open" +
                                                           "\x02" + std::string(3, '\0') + "/a" +
                                                           std::string(4, '\0'));
  EXPECT_EQ(encodeHandOverRequest({}), bytesOf({0, 0, 0, 0}));
  const std::string path(300, 'p');
  EXPECT_EQ(encodeHandOverRequest({path}), bytesOf({48, 1, 0, 0, 44, 1, 0, 0}) + path);
}

TEST(HandOverRequestTest, EveryCutNeedsMoreAndTheWholeGivesTheRequestBack) {
  for (const Parts& parts : {Parts{"raise"}, Parts{"open", "/clips/a b.HGV", "7"}, Parts{},
                             Parts{"", "", ""}, Parts{std::string("a\0b", 3)}}) {
    const Bytes bytes = encodeHandOverRequest(parts);
    for (std::size_t cut = 0; cut < bytes.size(); ++cut) {
      EXPECT_EQ(decodeHandOverRequest(bytes.data(), cut).status, Status::NeedMore) << cut;
    }
    const HandOverDecode whole = decode(bytes);
    EXPECT_EQ(whole.status, Status::Request);
    EXPECT_EQ(whole.parts, parts);
  }
}

// The body is looked at only once it is all there, so a request that arrives a byte at a time
// costs one parse, not one per byte.
TEST(HandOverRequestTest, TheBodyIsParsedOnlyWhenWhole) {
  Bytes bytes = bytesOf({8, 0, 0, 0, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff});
  EXPECT_EQ(decode(bytes).status, Status::NeedMore) << "a bad part size, not read yet";
  bytes.push_back(0xff);
  EXPECT_EQ(decode(bytes).status, Status::Refused);
}

TEST(HandOverRequestTest, OverTheLimitOrMalformedIsRefused) {
  const struct {
    const char* what;
    Bytes bytes;
  } cases[] = {
      {"a size of 4 GiB", bytesOf({0xff, 0xff, 0xff, 0xff})},
      {"one byte over the limit", bytesOf({0xfd, 0xff, 0, 0})},
      {"a byte after the request", bytesOf({0, 0, 0, 0, 'x'})},
      {"a part past the body", bytesOf({5, 0, 0, 0, 2, 0, 0, 0, 'x'})},
      {"a cut part size", bytesOf({2, 0, 0, 0, 1, 0})},
      {"a part size that wraps", bytesOf({6, 0, 0, 0, 0xfe, 0xff, 0xff, 0xff, 'x', 'y'})},
  };
  for (const auto& c : cases) {
    const HandOverDecode decoded = decode(c.bytes);
    EXPECT_EQ(decoded.status, Status::Refused) << c.what;
    EXPECT_TRUE(decoded.parts.empty()) << c.what;
  }
  Bytes seventeen = bytesOf({68, 0, 0, 0});
  for (int i = 0; i < 17; ++i) seventeen.insert(seventeen.end(), 4, 0);
  EXPECT_EQ(decode(seventeen).status, Status::Refused) << "17 parts";
}

TEST(HandOverRequestTest, TheLimitHoldsTheWholeRequest) {
  const std::string largest(kMaxHandOverRequestBytes - 8, 'p');
  EXPECT_TRUE(toolkit::handOverRequestFits({largest}));
  EXPECT_FALSE(toolkit::handOverRequestFits({largest + "p"}));
  EXPECT_TRUE(toolkit::handOverRequestFits(Parts(16)));
  EXPECT_FALSE(toolkit::handOverRequestFits(Parts(17)));
  const Bytes bytes = encodeHandOverRequest({largest});
  ASSERT_EQ(bytes.size(), kMaxHandOverRequestBytes);
  EXPECT_EQ(decode(bytes).parts, Parts{largest});
  EXPECT_EQ(decode(bytesOf({0xfc, 0xff, 0, 0})).status, Status::NeedMore) << "exactly the limit";
}

}  // namespace
