// SPDX-License-Identifier: Apache-2.0
#include "ToolRun.h"
#include "VirtualDisplay.h"

#include <gtest/gtest.h>

#include <csignal>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kestova::testing {
namespace {

class HotKeyCommandTests : public ::testing::Test {
 protected:
  /// Runs the tool, and returns when it serves its hot keys.
  void serve(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "hotkey");
    tool.emplace(arguments);
    tool->waitForOutput("served by");
  }

  ToolResult end(int signal = SIGINT) {
    tool->send(signal);
    return tool->wait();
  }

  const VirtualDisplay display;
  const DisplayClient client{display};
  std::optional<ToolRun> tool;
};

TEST_F(HotKeyCommandTests, EachReleaseRunsTheCommand) {
  const TemporaryFolder folder;
  serve({"Control+Alt+K", "--", "sh", "-c", "echo >>$0/runs; echo run $(wc -l <$0/runs)",
         folder.path()});
  client.type({kKeyControl, kKeyAlt, kKeyK});
  tool->waitForOutput("run 1\n");
  client.type({kKeyControl, kKeyAlt, kKeyK});
  tool->waitForOutput("run 2\n");
  const ToolResult result = end();
  EXPECT_EQ(result.exitStatus, 130);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output,
            "1 hot key, served by the X server " + display.name() + "\nrun 1\nrun 2\n");
}

TEST_F(HotKeyCommandTests, SeveralCombinationsAreServedByOneCall) {
  serve({"control+a", "--", "echo", "first", "--", "x", "--and", "Ctrl+SHIFT+super+K", "--", "echo",
         "second"});
  client.type({kKeyControl, kKeyA});
  tool->waitForOutput("first -- x\n");
  client.type({kKeyControl, kKeyShift, kKeySuper, kKeyK});
  tool->waitForOutput("second\n");
  EXPECT_TRUE(end().output.starts_with("2 hot keys, served by the X server "));
}

TEST_F(HotKeyCommandTests, AnAndThatIsSaidTwiceIsAWordOfTheCommand) {
  serve({"Control+A", "--", "echo", "one", "--and", "--and", "two", "--and", "--and", "--and",
         "Control+K", "--", "echo", "--and", "--and", "--and", "--and", "--"});
  client.type({kKeyControl, kKeyA});
  tool->waitForOutput("one --and two --and\n");
  client.type({kKeyControl, kKeyK});
  tool->waitForOutput("\n--and --and --\n");
  EXPECT_TRUE(end().output.ends_with("\none --and two --and\n--and --and --\n"));
}

TEST_F(HotKeyCommandTests, ATakenCombinationIsOneLineAndAFailure) {
  ASSERT_TRUE(client.grab(XCB_MOD_MASK_CONTROL, kKeyK));
  const ToolResult result =
      runTool({"hotkey", "Control+L", "--", "true", "--and", "Control+K", "--", "true"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "kestova: Control+K: it is taken\n");
  EXPECT_TRUE(client.isFree(kKeyL));
}

TEST_F(HotKeyCommandTests, ASecondInstanceCantHaveTheSame) {
  serve({"Control+K", "--", "true"});
  const ToolResult result = runTool({"hotkey", "Control+K", "--", "true"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "kestova: Control+K: it is taken\n");
  end();
  const ToolResult check = runTool({"hotkey", "--check", "Control+K"});
  EXPECT_EQ(check.exitStatus, 0);
}

TEST_F(HotKeyCommandTests, ACombinationTwiceInOneCallIsTaken) {
  const ToolResult result =
      runTool({"hotkey", "Ctrl+K", "--", "true", "--and", "Control+k", "--", "true"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "kestova: Control+k: it is taken\n");
}

TEST_F(HotKeyCommandTests, AnInterruptATerminationAndAKillFreeTheKeys) {
  for (const int signal : {SIGINT, SIGTERM, SIGKILL}) {
    serve({"Control+K", "--", "true"});
    EXPECT_FALSE(client.isFree(kKeyK));
    EXPECT_EQ(end(signal).exitStatus, signal == SIGKILL ? -1 : 130);
    // The server learns of a dead client from its socket, a moment later.
    while (!client.isFree(kKeyK)) std::this_thread::yield();
  }
}

TEST_F(HotKeyCommandTests, ACommandThatFailsIsToldAndServingGoesOn) {
  serve({"Control+K", "--", "/no/such/program", "--and", "Control+L", "--", "sh", "-c",
         "echo over; exit 3"});
  client.type({kKeyControl, kKeyK});
  client.type({kKeyControl, kKeyL});
  tool->waitForOutput("over\n");
  client.type({kKeyControl, kKeyL});
  tool->waitForOutput("over\nover\n");
  EXPECT_NE(end().errors.find("kestova: /no/such/program: No such file or directory\n"),
            std::string::npos);
}

TEST_F(HotKeyCommandTests, CommandsThatLastDontKeepTheNextOnesBack) {
  const TemporaryFolder folder;
  serve({"Control+K", "--", "sh", "-c",
         "echo $$ >>$0/pids; echo run $(wc -l <$0/pids); exec sleep 600", folder.path(), "--and",
         "Control+L", "--", "sh", "-c", "echo over; kill $(cat $0/pids)", folder.path()});
  for (int run = 0; run < 12; ++run) client.type({kKeyControl, kKeyK});
  tool->waitForOutput("run 12\n");
  client.type({kKeyControl, kKeyL});
  tool->waitForOutput("over\n");
  EXPECT_EQ(end().exitStatus, 130);
}

TEST_F(HotKeyCommandTests, CheckTellsWhatIsFreeAndWhoServesIt) {
  ASSERT_TRUE(client.grab(XCB_MOD_MASK_CONTROL, kKeyK));
  const ToolResult both = runTool({"hotkey", "--check", "Control+K", "Alt+F4"});
  EXPECT_EQ(both.exitStatus, 1);
  EXPECT_EQ(both.output, "Control+K: taken (the X server " + display.name() +
                             ")\nAlt+F4: free (the X server " + display.name() + ")\n");
  EXPECT_EQ(both.errors, "");
  EXPECT_EQ(runTool({"hotkey", "--check", "Alt+F4"}).exitStatus, 0);
  EXPECT_TRUE(client.isFree(kKeyF1));
}

TEST_F(HotKeyCommandTests, ALostServerEndsIt) {
  VirtualDisplay doomed;
  serve({"Control+K", "--", "true"});
  doomed.kill();
  const ToolResult result = tool->wait();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors,
            "kestova: Hot keys: the connection to the X server " + doomed.name() + " was lost\n");
}

TEST_F(HotKeyCommandTests, WithoutADisplayItSaysWhy) {
  ::unsetenv("DISPLAY");
  const std::string reason =
      "kestova: Control+K: no service; not by the X server: DISPLAY is not set; not by the desktop "
      "portal: this is no Wayland session\n";
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {"hotkey", "Control+K", "--", "true"}, {"hotkey", "--check", "Control+K"}}) {
    const ToolResult result = runTool(arguments);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, reason);
  }
}

TEST_F(HotKeyCommandTests, OnWaylandADesktopWithoutABusIsToldAndTheDisplayLeftAlone) {
  ::setenv("WAYLAND_DISPLAY", "wayland-7", 1);
  ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/no/such/bus", 1);
  const ToolResult result = runTool({"hotkey", "--check", "Control+K"});
  ::unsetenv("WAYLAND_DISPLAY");
  ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_TRUE(result.errors.starts_with(
      "kestova: Control+K: no service; not by the X server: this is a Wayland session; not by the "
      "desktop portal: there is no session bus ("))
      << result.errors;
}

TEST_F(HotKeyCommandTests, ADisplayThatIsNotThereIsNamed) {
  ::setenv("DISPLAY", ":65000", 1);
  const ToolResult result = runTool({"hotkey", "Control+K", "--", "true"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_NE(result.errors.find("the display :65000 can't be reached"), std::string::npos);
}

TEST(HotKeyCommandListTests, ListsEveryKey) {
  const ToolResult result = runTool({"hotkey", "--list-keys"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.lines().size(), 109U);
  EXPECT_NE(result.output.find(" 40 K\n"), std::string::npos);
  EXPECT_NE(result.output.find("122 F1\n"), std::string::npos);
}

TEST(HotKeyCommandUseTests, WrongUseIsToldInOneLine) {
  const std::string use =
      "kestova: hotkey takes a key combination, then -- and a command; --and begins the next "
      "combination\n";
  struct Row {
    std::vector<std::string> arguments;
    std::string errors;
  };
  for (const Row& row : {
           Row{{}, use},
           Row{{"Control+K"}, use},
           Row{{"Control+K", "--"}, use},
           Row{{"Control+K", "true"}, use},
           Row{{"Control+K", "--", "true", "--and"}, use},
           Row{{"Control+K", "--", "true", "--and", "Control+L"}, use},
           Row{{"Control+K", "--", "true", "--and", "--and", "--and"}, use},
           Row{{"Control+K", "--", "--and", "Control+L", "--", "true"}, use},
           Row{{"--check"}, "kestova: --check takes key combinations\n"},
           Row{{"--list-keys", "Control+K"}, "kestova: --list-keys stands alone\n"},
           Row{{"Control+Alt", "--", "true"},
               "kestova: Control+Alt: modifier keys alone are no hot key\n"},
           Row{{"shift", "--", "true"}, "kestova: shift: modifier keys alone are no hot key\n"},
           Row{{"Control+Nokey", "--", "true"},
               "kestova: Control+Nokey: there is no key \"Nokey\" (see --list-keys)\n"},
           Row{{"Hyper+K", "--", "true"}, "kestova: Hyper+K: there is no modifier key \"Hyper\"\n"},
           Row{{"Control+", "--", "true"},
               "kestova: Control+: there is no key \"\" (see --list-keys)\n"},
           Row{{"+K", "--", "true"}, "kestova: +K: there is no modifier key \"\"\n"},
           Row{{"", "--", "true"}, "kestova: : there is no key \"\" (see --list-keys)\n"},
           Row{{"--check", "Control+K", "Contrl+K"},
               "kestova: Contrl+K: there is no modifier key \"Contrl\"\n"},
       }) {
    std::vector<std::string> arguments = row.arguments;
    arguments.insert(arguments.begin(), "hotkey");
    const ToolResult result = runTool(arguments);
    EXPECT_EQ(result.exitStatus, 2) << row.errors;
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, row.errors);
  }
}

}  // namespace
}  // namespace kestova::testing
