#include "language_test.h"

#include "host/notation/kel_parser.h"
#include "host/notation/kel_value.h"
#include "host/notation/kel_value_set.h"
#include "host/script/script_result.h"
#include "host/script/script_runtime.h"
#include "host/script/type_check.h"
#include "tavhost/notation/scope.h"
#include "tavhost/script/ports/message.h"
#include "tavhost/script/ports/ports.h"

using script_test::Output;
using script_test::Ran;
using script_test::RunScript;
using script_test::Text;

namespace {

// Commands for tests, in place of a plug-in's.
class TestCommands : public script::CommandProvider {
 public:
  TestCommands() {
    script::RegisterHostPorts();
    script::ScriptPort::TavScript().AddProvider(*this);
  }
  ~TestCommands() override { script::ScriptPort::TavScript().RemoveProvider(*this); }

  bool Handle(const char* command, TavKelParser& params, TavScriptResult& result) override {
    const std::string_view name(command);
    calls += std::string(name) + ' ';
    if (name == "SET") {
      Set(result, params.GetStrValue("name"), params.GetStrValue("value"));
    } else if (name == "CHECKED") {
      if (Tav_IsInvalidKelParamType(params, "", TavKelString, result, false)) return true;
      Set(result, "ecode", "0");
    } else if (name == "EXECUTE") {
      Execute(params.GetStrValue());
    } else if (name == "STOP") {
      stop::Request(stop::Reason::kUser);
      if (params.IsContained("wait")) throw stop::Stopped();
    } else if (name == "TYPES") {
      Set(result, "types", Types(params));
    } else if (name == "HUGE") {
      SV::String text;
      text.AllocBuffer(SV::String::kMaxLength - 1);  // its bytes are never touched
      Set(result, "huge", text);
    } else if (name == "THROW") {
      throw std::bad_alloc();
    } else {
      return name == "INTERNAL_TAVSCRIPT_FINISHED";
    }
    return true;
  }
  bool Handle(const char* command, TavKelParser& params, TavMessage& message) override {
    return Handle(command, params, message.Result());
  }
  SV::String AllCommands(char separator) override {
    SV::String all("SET");
    all += separator;
    all += "CHECKED";
    return all;
  }

  std::string calls;

 private:
  static void Set(TavScriptResult& result, const SV::String& name, const SV::String& text) {
    auto* value = new TavKelValue(new SV::String(text));
    if (TavKelValueSet* set = result.GetValueSet()) {
      set->OldMoveValue(name, value, false);
    } else if (TavKelValue* object = result.GetObject()) {
      object->MoveValue(name, value);
    } else {
      result.GetText() += text;
      delete value;
    }
  }

  static void Execute(const SV::String& text) {
    TavScript script(0, "Do_Execute", "", "");
    SV::String error;
    if (script.Parse(text, error) != 0) return;
    TavScriptRuntime runtime;
    TavKelValueSet variables(TavScript::GlobalVars());
    TavScriptExitType exitType = TavScriptExitEnd;
    long code = 0;
    script.Execute(exitType, code, runtime, &variables, true, false);
  }

  static SV::String Types(TavKelParser& params) {
    std::string types;
    for (const char* name : {"", "s", "i", "r", "w", "l", "m", "b"}) {
      for (int type = 1; type <= 8; ++type) {
        TavScriptResult unread;
        if (type != 6 && !Tav_IsInvalidKelParamType(
                             params, name, static_cast<TavKelValueType>(type), unread, false)) {
          types += std::to_string(type);
        }
      }
      types += ' ';
    }
    return SV::String(types.c_str());
  }
};

TEST(Commands, LeaveTheirResultsInTheScope) {
  TestCommands commands;
  EXPECT_EQ(Output("SET name:\"x\" value:\"1\"\nprint x"), "1\n");
  EXPECT_EQ(Output("SET name:\"never-mentioned\" value:\"1\"\nprint 1"), "1\n");
  EXPECT_EQ(Output("func f() { SET name:\"x\" value:\"in\"; return x }\nx = 1\nprint f(), x"),
            "in 1\n");
  EXPECT_EQ(Output("func f() { global x; SET name:\"x\" value:\"in\" }\nx = 1\nf()\nprint x"),
            "in\n");
  EXPECT_EQ(Output("SET name:\"x\" value:\"1\"; EXECUTE \"print x; x = 2; print x\"; print x"),
            "1\n2\n1\n");
}

TEST(Commands, LeaveTheirResultsInARecord) {
  TestCommands commands;
  EXPECT_EQ(Output("SET name:\"x\" value:\"1\" -> r\nprint r, r.x"), "(x: \"1\") 1\n");
  EXPECT_EQ(Output("CHECKED \"a\"->d; print d.ecode"), "0\n");
  EXPECT_EQ(Output("func f() { global r; SET name:\"x\" value:\"1\" -> r }\nf()\nprint r.x"),
            "1\n");
  EXPECT_EQ(Output("r = 5\ntry { CHECKED -> r } catch { }\nprint r"), "5\n");
}

TEST(Commands, TakeValuesOfEveryKind) {
  TestCommands commands;
  const char* expected = "1 1 23 3 4 7 4 5 \n";  // an integer may stand for a real
  EXPECT_EQ(Output("TYPES \"m\" s:\"s\" i:0 r:1.5 w:word l:(1, 2) m:word b:{ A }\nprint types"),
            expected);
  EXPECT_EQ(Output("m = \"m\"; i = 0; r = 1.5; l = (1, 2)\n"
                   "TYPES (m) s:(m) i:(i) r:(r) w:word l:(l) m:word b:{ A x:(m) }\nprint types"),
            expected);
  EXPECT_EQ(Output("TYPES (\"m\") s:(\"s\") i:(0) r:(1.5) w:w l:(1,) m:w b:{ }\nprint types"),
            expected);
}

TEST(Commands, ReportErrorsAtTheirPlace) {
  TestCommands commands;
  EXPECT_EQ(Output("print 1\n  CHECKED 5"),
            "1\ntest.tav:2:3: error: CHECKED: the main value must be a string, not an integer\n"
            "  CHECKED 5\n  ^\n");
  EXPECT_EQ(Output("try { CHECKED } catch e { print e.message, e.command, e.line, e.column }"),
            "CHECKED: the main value is missing CHECKED 1 7\n");
  EXPECT_EQ(Output("try { CHEKED } catch e { print e.message }"),
            "unknown command \"CHEKED\" on port \"TavScript\"; did you mean \"CHECKED\"?\n");
  EXPECT_EQ(Output("try { send \"TavHost\" SET } catch e { print e.message }"),
            "unknown command \"SET\" on port \"TavHost\"\n");
  EXPECT_EQ(Output("try { send \"TavScipt\" SET } catch e { print e.message }"),
            "unknown port \"TavScipt\"; did you mean \"TavScript\"?\n");
  EXPECT_EQ(Output("try { send (5,) SET } catch e { print e.message }"),
            "the name of a port must be a string, not a list\n");
  EXPECT_EQ(Output("try { THROW } catch e { print e.message }"), "out of memory\n");
  EXPECT_EQ(Output("SET name:\"x\" value:(nothing)"),
            "test.tav:1:21: error: the variable \"nothing\" has no value\n"
            "SET name:\"x\" value:(nothing)\n                    ^\n");
}

TEST(Commands, GoToOtherPorts) {
  TestCommands commands;
  EXPECT_EQ(Output("p = \"TavScript\"; send \"TavScript\" SET name:\"x\" value:\"1\"; "
                   "send (p) SET name:\"y\" value:\"2\" -> r; print x, r.y"),
            "1 2\n");
}

TEST(Execute, RunsInAScopeOfItsOwn) {
  TestCommands commands;
  EXPECT_EQ(Output("func f() { local = 1; EXECUTE \"try { print local } catch e { print "
                   "e.message }\" }\nf()"),
            "the variable \"local\" has no value\n");
  EXPECT_EQ(Output("EXECUTE \"a = 1; global b; b = 2\"\nprint b\ntry { print a } catch e { print "
                   "e.message }"),
            "2\nthe variable \"a\" has no value\n");
  EXPECT_EQ(Output("func f(x) { return x + 1 }\nEXECUTE \"print f(1); func g() { return 5 }; "
                   "print g()\"\ntry { print g() } catch e { print e.message }"),
            "2\n5\nunknown function \"g\"\n");
  EXPECT_EQ(Output("x = 1\nEXECUTE \"func g() { global x; x = x + 1 }; g(); g()\"\nprint x"),
            "3\n");
}

TEST(Execute, EndsOnlyItsOwnText) {
  TestCommands commands;
  Ran ran = RunScript("EXECUTE \"print 1\\nx = 1 / 0\\nprint 2\"\nprint 3");
  EXPECT_EQ(ran.printed, "1\n3\n");
  EXPECT_EQ(ran.errors, "Do_Execute:2:7: error: division by zero\nx = 1 / 0\n      ^\n");
  ran = RunScript("EXECUTE \"exit 5\"\nprint 3");
  EXPECT_EQ(ran.printed, "3\n");
  EXPECT_EQ(ran.outcome.exitType, TavScriptExitEnd);
  ran = RunScript("EXECUTE \"x = (\"\nprint 3");
  EXPECT_EQ(ran.printed, "3\n");
  EXPECT_EQ(ran.errors, "");
}

TEST(Execute, MayLeadToTheSameCommandAgain) {
  TestCommands commands;
  EXPECT_EQ(Output("func f(n) { if n > 0 { EXECUTE (\"f(\" + (n - 1) + \")\"); print n } }\nf(3)"),
            "1\n2\n3\n");
}

TEST(Execute, CountsForTheCallDepth) {
  TestCommands commands;
  const Ran ran =
      RunScript("n = 0\nfunc f() { global n; n = n + 1; EXECUTE \"f()\" }\nf()\nprint n");
  EXPECT_EQ(ran.printed, "100\n");
  EXPECT_NE(ran.errors.find("calls are nested deeper than 200 levels"), std::string::npos);
}

TEST(Calls, HoldTheirLimit) {
  const auto depth = [](const char* n) {
    return Output("func f(n) { if n <= 1 { return 1 }; return f(n - 1) + 1 }\ntry { print f(" +
                  std::string(n) + ") } catch e { print e.message }");
  };
  EXPECT_EQ(depth("199"), "199\n");
  EXPECT_EQ(depth("200"), "200\n");
  EXPECT_EQ(depth("201"), "calls are nested deeper than 200 levels\n");
}

TEST(End, IsToldOnceHoweverTheScriptEnds) {
  TestCommands commands;
  const auto told = [&](const char* text) {
    commands.calls.clear();
    RunScript(text);
    return commands.calls;
  };
  EXPECT_EQ(told("print 1"), "INTERNAL_TAVSCRIPT_FINISHED ");
  EXPECT_EQ(told("exit 5"), "INTERNAL_TAVSCRIPT_FINISHED ");
  EXPECT_EQ(told("x = 1 / 0"), "INTERNAL_TAVSCRIPT_FINISHED ");
  EXPECT_EQ(told("STOP"), "STOP INTERNAL_TAVSCRIPT_FINISHED ");
  EXPECT_EQ(told("EXECUTE \"x = 1\""), "EXECUTE INTERNAL_TAVSCRIPT_FINISHED ");
  EXPECT_EQ(told("x = ("), "");  // it never began
}

TEST(Stop, CannotBeCaught) {
  TestCommands commands;
  for (const char* text :
       {"try { STOP } catch { }\nprint 1", "try { STOP wait } catch { }\nprint 1",
        "func f() { try { EXECUTE \"try { STOP } catch { }; print 1\" } catch { } }\nf()\nprint 1",
        "try { while 1 { STOP } } catch { }\nprint 1"}) {
    const Ran ran = RunScript(text);
    EXPECT_EQ(ran.printed, "") << text;
    EXPECT_EQ(ran.outcome.exitType, TavScriptExitStop);
    EXPECT_EQ(ran.outcome.stopReason, stop::Reason::kUser);
    EXPECT_FALSE(stop::IsRequested());
  }
}

TEST(Stop, ReachesEveryKindOfLoop) {
  for (const char* text :
       {"while 1 { }", "i = 0\nwhile i == 0 { }", "i = 1\nwhile i { }",
        "for i from 0 to 2000000000 { }", "l = range(0, 1000)\nwhile 1 { for x in l { } }",
        "func f() { while 1 { f2() } }\nfunc f2() { }\nf()",
        "while 1 { try { throw 1 } catch { } }", "while not 0 and 1 { continue }"}) {
    stop::Request(stop::Reason::kTimeout);
    const Ran ran = RunScript(text);
    EXPECT_EQ(ran.outcome.exitType, TavScriptExitStop) << text;
    EXPECT_EQ(ran.outcome.stopReason, stop::Reason::kTimeout);
  }
}

TEST(Globals, AreEmptiedBeforeTheNextScript) {
  EXPECT_EQ(Output("kept = 1"), "");
  EXPECT_NE(kel::Scope::Of(*TavScript::GlobalVars()).Read("kept"), nullptr);
  EXPECT_EQ(Output("try { print kept } catch e { print e.message }"),
            "the variable \"kept\" has no value\n");
}

TEST(Session, KeepsVariablesAndFunctions) {
  TestCommands commands;
  Ran ran;
  {
    script::Session session(script_test::Collecting(ran));
    EXPECT_TRUE(script::IsScriptRunning());
    EXPECT_EQ(session.Run("x = 1; func f(n) { return n + x }").exitType, TavScriptExitEnd);
    EXPECT_EQ(session.Run("print f(2)").exitType, TavScriptExitEnd);
    EXPECT_EQ(session.Run("y = 1 / 0").exitType, TavScriptExitError);
    EXPECT_FALSE(session.Run("print (").parsed);
    EXPECT_EQ(session.Run("func f(n) { return \"new\" }").exitType, TavScriptExitEnd);
    EXPECT_EQ(session.Run("print f(1), x").exitType, TavScriptExitEnd);
    EXPECT_EQ(session.Run("exit 4").code, 4);
    EXPECT_EQ(session.Run("SET name:\"x\" value:\"2\"; print x").exitType, TavScriptExitEnd);
    EXPECT_EQ(session.Run("STOP").exitType, TavScriptExitStop);
    EXPECT_EQ(session.Run("print x").exitType, TavScriptExitEnd);
    EXPECT_FALSE(script::RunText("print 5", {}).parsed);  // one outermost script at a time
    EXPECT_EQ(commands.calls.find("FINISHED"), std::string::npos);
  }
  EXPECT_EQ(ran.printed, "3\nnew 1\n2\n2\n");
  EXPECT_NE(commands.calls.find("FINISHED"), std::string::npos);
  EXPECT_FALSE(script::IsScriptRunning());
}

TEST(Strings, LongerThanTheLimitAreAnError) {
  TestCommands commands;
  EXPECT_EQ(Output("HUGE\ntry { huge = huge + \"ab\" } catch e { print e.message }\n"
                   "try { x = huge + huge } catch e { print e.message }\nhuge = \"\""),
            "the text is longer than 2147483647 bytes\nthe text is longer than 2147483647 bytes\n");
}

TEST(Values, AreDestroyedHoweverDeepTheyAre) {
  EXPECT_EQ(Output("l = ()\nfor i from 1 to 300000 { l = (l,) }\nprint len(l)\n"
                   "m = ()\nfor i from 1 to 300000 { m = (m,) }\nprint l == m"),
            "1\n1\n");
}

TEST(Message, BringsTheReplyBackAsText) {
  TestCommands commands;
  const auto send = [](const char* command, const char* text, TavMessage& message) {
    TavKelParser parser{SV::String(text)};
    parser.Parse();
    return script::ScriptPort::TavScript().Handle(command, parser, message);
  };
  TavMessage set;
  EXPECT_TRUE(send("SET", "SET value:\" a\"", set));
  EXPECT_EQ(set.Reply(), " a");
  EXPECT_FALSE(set.HasError());
  TavMessage checked;
  EXPECT_TRUE(send("CHECKED", "CHECKED", checked));
  EXPECT_TRUE(checked.HasError());
  TavMessage unknown;
  EXPECT_FALSE(send("CHEKED", "CHEKED", unknown));
  EXPECT_FALSE(unknown.HasError());
}

TEST(UnknownCommand, NamesTheNearestCommandOrPort) {
  TestCommands commands;
  EXPECT_EQ(script::UnknownCommandText("TavScript", "CHEKED"),
            "unknown command \"CHEKED\" on port \"TavScript\"; did you mean \"CHECKED\"?");
  EXPECT_EQ(script::UnknownCommandText("TavScirpt", "CHECKED"),
            "unknown port \"TavScirpt\"; did you mean \"TavScript\"?");
  EXPECT_EQ(script::UnknownCommandText("Nowhere", "CHECKED"), "unknown port \"Nowhere\"");
}

}  // namespace
