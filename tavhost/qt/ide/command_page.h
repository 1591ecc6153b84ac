#pragma once

#include <QPalette>
#include <QString>

#include "tavhost/reference/reference.h"

namespace ui::ide_view {

// A command's documentation as rich text. Its links: `command:NAME`, `insert:example`.
QString CommandPage(const reference::Command& command, const std::string& usage,
                    const QPalette& palette);

// A tool tip: how it is written and what it does.
QString CommandTip(const reference::Command& command, const std::string& usage);

// What "insert" puts into a script: the command with what it requires.
QString InsertedText(const reference::Command& command);

// An example as a script holds it: without the indentation of the reference.
QString ExampleText(const reference::Command& command);

}  // namespace ui::ide_view
