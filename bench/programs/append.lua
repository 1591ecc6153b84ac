-- Strings are immutable here; the idiom is a table of pieces.
local pieces = {}
for i = 1, 1000000 do pieces[#pieces + 1] = "x" end
local text = table.concat(pieces)
print(#text)
