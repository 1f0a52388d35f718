#include "server/server_text.h"

#include <gtest/gtest.h>

#include <string>

namespace launcher {
namespace {

TEST(ServerText, acceptedWithoutOrWithOneBlankAcceptsTheRun) {
  EXPECT_TRUE(acceptsRun("{\"accepted\":true}"));
  EXPECT_TRUE(acceptsRun("{\"accepted\": true}"));
  EXPECT_TRUE(acceptsRun("{\"ok\":1,\"accepted\":true,\"rank\":1}"));
  EXPECT_TRUE(acceptsRun("\"accepted\":true"));
  EXPECT_TRUE(acceptsRun("\"accepted\": true"));
}

TEST(ServerText, otherSpellingsRefuseTheRun) {
  EXPECT_FALSE(acceptsRun("{\"accepted\": false}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\":false}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\" :true}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\" : true}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\":  true}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\":\ttrue}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\":\ntrue}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\":\"true\"}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\":True}"));
  EXPECT_FALSE(acceptsRun("{\"Accepted\":true}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\":1}"));
  EXPECT_FALSE(acceptsRun("{accepted:true}"));
}

TEST(ServerText, cutOrForeignReplyRefusesTheRun) {
  EXPECT_FALSE(acceptsRun(""));
  EXPECT_FALSE(acceptsRun("\"accepted\":tru"));
  EXPECT_FALSE(acceptsRun("\"accepted\": tru"));
  EXPECT_FALSE(acceptsRun("<html>accepted</html>"));
}

TEST(ServerText, acceptedAnywhereAcceptsTheRun) {
  EXPECT_TRUE(acceptsRun("{\"accepted\":false,\"last\":{\"accepted\":true}}"));
  EXPECT_TRUE(acceptsRun("{\"accepted\":trueish}"));
  EXPECT_TRUE(acceptsRun(std::string(1, '\0') + "\xFF\"accepted\":true"));
  EXPECT_TRUE(acceptsRun(std::string(1'000'000, '"') + "accepted\":true"));
}

TEST(ServerText, skipReportBody) {
  EXPECT_EQ(skipReportBody("anonymous", "receipt invalid"),
            "{\"player\":\"anonymous\",\"reason\":\"receipt invalid\"}");
  EXPECT_EQ(skipReportBody("竞速玩家", "no receipt file"),
            "{\"player\":\"竞速玩家\",\"reason\":\"no receipt file\"}");
  EXPECT_EQ(skipReportBody("", ""), "{\"player\":\"\",\"reason\":\"\"}");
}

TEST(ServerText, skipReportEscapesNothing) {
  EXPECT_EQ(skipReportBody("a\"b\\", "run not finished (no ending map)"),
            "{\"player\":\"a\"b\\\",\"reason\":\"run not finished (no ending map)\"}");
}

}  // namespace
}  // namespace launcher
