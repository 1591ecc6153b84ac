local peer = require("bench_peer")
local size = peer.display_size
local r
for i = 1, 1000000 do r = size({a = 1}) end
print(r.w)
