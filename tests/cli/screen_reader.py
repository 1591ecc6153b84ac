#!/usr/bin/python3
"""Reads windows as a screen reader does, over AT-SPI, for screen_reader_posix_test.py. Takes one
request a line, as JSON, and answers each with a line of JSON: a result, or {"error": ...}."""

import json
import re
import sys
import time
import warnings

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

PATIENCE = 20  # seconds for what comes at once when nothing is wrong
MOST_ITEMS = 9  # of a list, a tree or a table that are read

# What only arranges or decorates other things, unless it has a name.
QUIET_ROLES = {"filler", "panel", "unknown", "scroll bar", "viewport", "separator", "split pane",
               "layered pane", "scroll pane", "frame"}
ITEMS = ("list item", "table cell", "tree item")
TOLD_STATES = ("checked", "selected", "focused", "is-default", "read-only", "editable", "expanded",
               "collapsed", "multi-line")
TAB = 0xFF09  # as keys are numbered for X
GUARD = 0.3  # seconds; keys that come in the first quarter of one are not taken


class Failure(Exception):
    pass


def wait(condition, what):
    """The condition's result when it is true; lets events come meanwhile."""
    end = time.monotonic() + PATIENCE
    context = GLib.MainContext.default()
    while True:
        while context.iteration(False):
            pass
        result = condition()
        if result:
            return result
        if time.monotonic() > end:
            raise Failure(f"{what} did not come")
        time.sleep(0.01)


def children(accessible):
    for index in range(accessible.get_child_count()):
        child = accessible.get_child_at_index(index)
        if child is not None:
            yield child


def states(accessible):
    return {state.value_nick for state in accessible.get_state_set().get_states()}


def label(accessible):
    return f'{accessible.get_role_name()} "{accessible.get_name()}"'


def described(accessible):
    """The line of it: role, name, text or value, states, what else is told of it."""
    line = label(accessible)
    interfaces = accessible.get_interfaces()
    told = states(accessible)
    if "Value" in interfaces:
        line += f" = {Atspi.Value.get_current_value(accessible):g}"
        line += f" of {Atspi.Value.get_maximum_value(accessible):g}"
    elif "Text" in interfaces and accessible.get_role_name() != "label":
        text = Atspi.Text.get_text(accessible, 0, Atspi.Text.get_character_count(accessible))
        line += f" = {text!r}"
    is_shown_only = accessible.get_role_name() in ("label", "image", "progress bar")
    marks = [] if is_shown_only else [state for state in TOLD_STATES if state in told]
    if "sensitive" not in told:
        marks.append("disabled")
    if marks:
        line += " (" + ", ".join(marks) + ")"
    labels = [label(relation.get_target(0)) for relation in accessible.get_relation_set()
              if relation.get_relation_type() == Atspi.RelationType.LABELLED_BY]
    if labels:
        line += " by " + ", ".join(labels)
    if accessible.get_description():
        line += f": {accessible.get_description()}"
    return line


def lines_of(accessible, depth=0):
    """What a screen reader tells of it and of all in it, in order, further in for what is inside."""
    if "showing" not in states(accessible):
        return []
    role = accessible.get_role_name()
    is_quiet = role in QUIET_ROLES and not accessible.get_name()
    lines = [] if is_quiet else ["  " * depth + described(accessible)]
    if not is_quiet:
        depth += 1
    inside = list(children(accessible))
    if "manages-descendants" in states(accessible):
        inside = inside[:MOST_ITEMS]
    for child in inside:
        lines += lines_of(child, depth)
    return lines


def all_in(accessible):
    yield accessible
    for child in children(accessible):
        yield from all_in(child)


class Reader:
    def __init__(self):
        Atspi.init()
        self.focused = []  # labels, as they got the focus
        self.changes = []  # values and names that changed by themselves
        self.window = None
        self.listener = Atspi.EventListener.new(self.take_event)
        for event in ("object:state-changed:focused", "object:property-change:accessible-value",
                      "object:property-change:accessible-name"):
            self.listener.register(event)

    def take_event(self, event, *unused):
        try:
            if not event.type.startswith("object:state-changed:focused"):
                self.changes.append(f"{described(event.source)}: {event.type.split(':')[-1]}")
            elif event.detail1:
                self.focused.append(label(event.source))
        except GLib.Error:
            pass  # it has closed

    def windows(self):
        for application in children(Atspi.get_desktop(0)):
            if application.get_name() != "tavhost":
                continue
            application.set_cache_mask(Atspi.Cache.NONE)
            yield from (window for window in children(application) if "showing" in states(window))

    def find(self, title):
        def found():
            try:
                return next((window for window in self.windows()
                             if window.get_name().endswith(title)), None)
            except GLib.Error:  # it closes meanwhile
                return None

        self.window = wait(found, f"a window named {title!r}")

    def read(self, title, active=True):
        """The window's lines, when it has the keyboard and nothing changes any more."""
        self.find(title)
        if active:  # an item of a view counts as focused there whether the view is or not
            wait(lambda: any("focused" in states(part) and part.get_role_name() not in ITEMS
                             for part in all_in(self.window)), "the focus")
        before = None
        while before != (lines := lines_of(self.window)):
            before = lines
        return lines

    def go_round(self, stops):
        """What gets the focus, by Tab, one after the other."""
        time.sleep(GUARD)
        order = []
        for _ in range(stops):
            self.focused.clear()
            Atspi.generate_keyboard_event(TAB, None, Atspi.KeySynthType.SYM)
            wait(lambda: self.focused, "another focus")
            order.append(self.focused[-1])
        return order

    def button(self, name):
        for part in all_in(self.window):
            if part.get_role_name() == "push button" and part.get_name() == name:
                return part
        raise Failure(f"no button named {name!r}")

    def press(self, name):
        """By its action, as a person does who cannot use keys."""
        return Atspi.Action.do_action(self.button(name), 0)

    def left_edge(self, name):
        return Atspi.Component.get_extents(self.button(name), Atspi.CoordType.SCREEN).x

    def told(self, change):
        """Waits until such a change was announced."""
        try:
            wait(lambda: any(re.fullmatch(change, one) for one in self.changes), change)
        except Failure as failure:
            raise Failure(f"{failure}, at last {self.changes[-9:]}") from None

    def unnamed(self):
        """What can have the focus and has no name, not being an item of a view."""
        return [described(part) for part in all_in(self.window)
                if {"focusable", "showing"} <= states(part) and not part.get_name()
                and part.get_role_name() not in ITEMS]


def main():
    warnings.simplefilter("ignore")
    reader = Reader()
    for line in sys.stdin:
        request, arguments = json.loads(line)
        try:
            answer = {"result": getattr(reader, request)(*arguments)}
        except (Failure, GLib.Error) as error:
            answer = {"error": str(error)}
        print(json.dumps(answer), flush=True)


if __name__ == "__main__":
    main()
