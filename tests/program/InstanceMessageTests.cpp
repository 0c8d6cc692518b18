#include "program/InstanceMessage.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

namespace corvel::tests {
namespace {

using namespace std::string_literals;
using InstanceMessage::decodedAnswer;
using InstanceMessage::decodedRequest;
using InstanceMessage::encoded;

constexpr std::size_t kLimit = 1'000;

template <typename Content>
bool isInvalid(const InstanceMessage::Decoded<Content>& decoded) {
    return std::holds_alternative<InstanceMessage::Invalid>(decoded);
}

template <typename Content>
bool isIncomplete(const InstanceMessage::Decoded<Content>& decoded) {
    return std::holds_alternative<InstanceMessage::Incomplete>(decoded);
}

TEST(InstanceMessage, WritesARequestAsItsSizeAndItsTexts) {
    EXPECT_EQ(encoded(InstanceRequest{"/home", {"--set", "Live"}}), "corvel 2\0\0\0\x12/home\0\0--set\0Live\0"s);
    EXPECT_EQ(encoded(InstanceRequest{"/", {std::string(300, 'x')}}).substr(0, 15), "corvel 2\0\0\x01\x30/\0\0"s);
    EXPECT_EQ(encoded(InstanceRequest{"/", {"-h"}, "token"}), "corvel 2\0\0\0\x0B/\0token\0-h\0"s);
}

TEST(InstanceMessage, WritesAnAnswer) {
    EXPECT_EQ(encoded(InstanceAnswer(CommandResult{1, "no"})),
              "corvel 2\0\0\0\x0A"
              "done\0"
              "1\0no\0"s);
    EXPECT_EQ(encoded(InstanceAnswer()),
              "corvel 2\0\0\0\x09"
              "declined\0"s);
}

TEST(InstanceMessage, ReadsWhatWasWritten) {
    for (const InstanceRequest& request :
         {InstanceRequest{"/home/me", {}}, InstanceRequest{"", {"", "", "-1"}},
          InstanceRequest{"/\xFF", {"two\nlines", "\xC3\x9C", " "}}, InstanceRequest{"/", {"--set"}, "token"}}) {
        EXPECT_EQ(std::get<InstanceRequest>(decodedRequest(encoded(request), kLimit)), request);
    }
    for (const InstanceAnswer& answer :
         {InstanceAnswer(CommandResult{0, ""}), InstanceAnswer(CommandResult{255, "a\nb"}), InstanceAnswer()}) {
        EXPECT_EQ(std::get<InstanceAnswer>(decodedAnswer(encoded(answer), kLimit)), answer);
    }
}

TEST(InstanceMessage, EndsATextAtAZeroByte) {
    const InstanceAnswer answer(CommandResult{0, "a\0b"s});
    EXPECT_EQ(std::get<InstanceAnswer>(decodedAnswer(encoded(answer), kLimit)), InstanceAnswer(CommandResult{0, "a"}));
}

TEST(InstanceMessage, IsIncompleteUntilItsLastByte) {
    const std::string message = encoded(InstanceRequest{"/home", {"--sets"}});
    for (std::size_t size = 0; size < message.size(); ++size) {
        EXPECT_TRUE(isIncomplete(decodedRequest(message.substr(0, size), kLimit))) << size;
    }
}

TEST(InstanceMessage, IsInvalidAsSoonAsItCannotBeOne) {
    EXPECT_TRUE(isInvalid(decodedRequest("GET / HTTP/1.1", kLimit)));
    EXPECT_TRUE(isInvalid(decodedRequest("c0", kLimit)));
    EXPECT_TRUE(isInvalid(decodedRequest("corvel 1", kLimit)));
    EXPECT_TRUE(isInvalid(decodedRequest("corvel 2\xFF\xFF\xFF\xFF", kLimit)));
    EXPECT_TRUE(isInvalid(decodedRequest("corvel 2\0\0\0\0"s, kLimit)));
    EXPECT_TRUE(
        isInvalid(decodedRequest("corvel 2\0\0\0\x02"
                                 "ab"s,
                                 kLimit)));
    EXPECT_TRUE(
        isInvalid(decodedRequest("corvel 2\0\0\0\x02"
                                 "a\0b"s,
                                 kLimit)));
}

TEST(InstanceMessage, IsInvalidBeyondTheLimit) {
    const std::string message = encoded(InstanceRequest{std::string(998, 'x'), {}});
    EXPECT_TRUE(std::holds_alternative<InstanceRequest>(decodedRequest(message, 1'000)));
    EXPECT_TRUE(isInvalid(decodedRequest(message, 999)));
    EXPECT_TRUE(isInvalid(decodedRequest(message.substr(0, 12), 999)));
}

TEST(InstanceMessage, TakesNothingElseForAnAnswer) {
    for (const std::vector<std::string>& texts : std::vector<std::vector<std::string>>{
             {"0", "text"}, {"", "0", "text"}, {"", "declined", "x"}, {"done", "x"}}) {
        EXPECT_TRUE(isInvalid(
            decodedAnswer(encoded(InstanceRequest{texts[0], {texts.begin() + 2, texts.end()}, texts[1]}), kLimit)));
    }
    for (const char* const code : {"", "one", "1x", " 1", "99999999999"}) {
        EXPECT_TRUE(isInvalid(decodedAnswer(encoded(InstanceRequest{"done", {"text"}, code}), kLimit))) << code;
    }
}

}  // namespace
}  // namespace corvel::tests
