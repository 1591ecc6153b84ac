"""Carries cases out in the real host, many in one process, and tells what each led to.

A command leaves its results in one of three places: as text (tavhost send), in the variables of
the calling script, or in an object (`-> record` in a script).
"""

from dataclasses import dataclass, field

import kel

SHOWN = 200  # longer strings are told by their type alone

PRELUDE = r"""
long = "x"
for i from 1 to LONG_DOUBLINGS { long = long + long }
func tell(number, name, value) {
  if type(value) == "string" {
    if len(value) > SHOWN { print number, "var", name, "\"...\""; return 0 }
  }
  print number, "var", name, kel_text(value)
}
"""


@dataclass
class Outcome:
    """What one case led to. `died` when the process ended before."""
    error: str = None
    variables: dict = field(default_factory=dict)  # name -> (type, value)
    died: bool = False


def outcome_of(reply):
    try:
        variables = dict(kel.read_reply(reply))
    except kel.NotKel as error:
        return Outcome(f"the reply is no KEL: {error}")
    error = variables.pop("error", (None, None))[1]
    return Outcome(error, variables)


class TextMode:
    name = "text"

    def __init__(self, host):
        self.host = host

    def run(self, cases, checking):
        """One outcome for each case."""
        switch = f"SET_MP_TYPE_CHECKING {'on' if checking else 'off'}"
        lines, wanted = [switch], []
        for case in cases:
            # The commands around a case are sent with checking on, as they stand there.
            lines += case.before()
            wanted.append(len(lines))
            lines += [case.text(in_script=False)] + case.after()
            if case.command["name"] == "SET_MP_TYPE_CHECKING":
                lines.append(switch)
        text = "\n".join(lines).encode("utf-8", "surrogateescape")
        reply = self.host.run(["send", "--answers", "accept", "--quiet", "--db", "area", "-"], text)
        replies = reply.lines()[:-1]
        outcomes = []
        for index in wanted:
            if index >= len(replies):
                outcomes.append(Outcome(died=True))
                continue
            outcomes.append(outcome_of(replies[index]))
        died_early = len(replies) != len(lines)
        return outcomes, end_of(reply, died_early, (0, 1))


class ScriptMode:
    def __init__(self, host, in_object, long_doublings):
        self.host = host
        self.name = "object" if in_object else "value set"
        self.in_object = in_object
        self.prelude = PRELUDE.replace("LONG_DOUBLINGS", str(long_doublings)).replace(
            "SHOWN", str(SHOWN))

    def case_text(self, number, case):
        """A function of its own for each case, so that no case sees another's variables."""
        name = case.command["name"]
        around = {"before": case.before(), "after": case.after()}
        for when, commands in around.items():
            if commands:
                yield f"func {when}_{number}() {{ " + "; ".join(commands) + " }"
        yield f"func case_{number}() {{"
        result = " -> results" if self.in_object else ""
        yield f"  try {{ {case.text(in_script=True)}{result}; print {number}, \"done\" }}" \
              f" catch e {{ print {number}, \"error\", e.message }}"
        if self.in_object:
            yield f"  try {{ for k in keys(results) {{ tell({number}, k, results[k]) }} }} catch e {{ }}"
        else:
            for variable in names_set_by(case):
                yield f"  try {{ tell({number}, \"{variable}\", {variable}) }} catch e {{ }}"
        yield "}"
        calls = [f"{when}_{number}()" for when in ("before",) if around[when]] + \
            [f"case_{number}()"] + [f"after_{number}()" for when in ("after",) if around[when]]
        if name == "SET_MP_TYPE_CHECKING":
            calls.append("switch()")
        yield "; ".join(calls)

    def run(self, cases, checking):
        lines = [f"func switch() {{ SET_MP_TYPE_CHECKING {'on' if checking else 'off'} }}",
                 "switch()", self.prelude]
        for number, case in enumerate(cases):
            lines += self.case_text(number, case)
        script = "\n".join(lines + ['print "end"']).encode("utf-8", "surrogateescape")
        reply = self.host.run(["run", "--answers", "accept", "--quiet", "--db", "area", "sweep.tav"],
                              files=[("sweep.tav", script)])
        outcomes = [Outcome(died=True) for _ in cases]
        printed = reply.lines()
        for line in printed:
            words = line.split(" ", 2)
            if not words[0].isdigit():
                continue
            outcome = outcomes[int(words[0])]
            outcome.died = False
            if words[1] == "error":
                outcome.error = words[2]
            elif words[1] == "var":
                name, _, value = words[2].partition(" ")
                try:
                    outcome.variables[name] = kel.read_value(value)
                except kel.NotKel as error:
                    outcome.error = f"{name} is no KEL: {error}"
        return outcomes, end_of(reply, "end" not in printed, (0,))


def names_set_by(case):
    """The variables that the reference lists, and one that a check box of a case may name."""
    for result in case.command["results"]:
        yield "variable" if "named-by" in result else result["name"]


def end_of(reply, died_early, fitting_codes):
    """What was wrong with the run as a whole; None when nothing was."""
    if not died_early and reply.code in fitting_codes:
        return None
    last = reply.err.decode("utf-8", "replace").strip().split("\n")[-5:]
    return "\n".join([f"the program ended with exit code {reply.code}"] + last)
