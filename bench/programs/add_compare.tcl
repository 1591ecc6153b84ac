proc main {} {
  set i 0
  set above 0
  while {$i < 10000000} {
    incr i
    if {$i > 5000000} { incr above }
  }
  puts $above
}
main
