local i = 0
local above = 0
while i < 10000000 do
  i = i + 1
  if i > 5000000 then above = above + 1 end
end
print(above)
