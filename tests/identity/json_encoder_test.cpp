#include "identity/json_encoder.h"

#include <gtest/gtest.h>

namespace oru::test {
namespace {

TEST(JsonEncoder, EncodesMapsAsTheLibraryExpects) {
  const struct {
    const char* what;
    EventParams params;
    std::string json;
  } cases[] = {
      {"empty map", {}, "{}"},
      {"the product's parameters", {{"guid", "kqv"}}, R"({"guid":"kqv"})"},
      {"entries in key order", {{"b", "2"}, {"a", "1"}}, R"({"a":"1","b":"2"})"},
      {"keys as they stand", {{"qu\"o\\te\t", "v"}}, "{\"qu\"o\\te\t\":\"v\"}"},
      {"short escapes", {{"k", "\"\\\b\f\n\r\t"}}, R"({"k":"\"\\\b\f\n\r\t"})"},
      {"other control bytes", {{"k", "\x01\x0b\x1f"}}, R"({"k":"\u0001\u000b\u001f"})"},
      {"bytes of 127 and above", {{"k", "\x7f\xe9\x81\xa5/"}}, "{\"k\":\"\x7f\xe9\x81\xa5/\"}"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(EncodeJsonObject(c.params), c.json) << c.what;
  }
}

}  // namespace
}  // namespace oru::test
