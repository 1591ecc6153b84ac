#pragma once

// The sides of the work window at which tools stand.
enum ToolBoxAlign {
  ToolBoxAlignLeft = 0,
  ToolBoxAlignTop = 1,
  ToolBoxAlignRight = 2,
  ToolBoxAlignBottom = 3,
};
