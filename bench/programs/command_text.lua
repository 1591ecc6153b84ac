display_size = require("bench_peer").display_size
for i = 1, 200000 do load("display_size({a = " .. i .. ", b = 2, c = 3, d = 4, e = 5})")() end
print("done")
