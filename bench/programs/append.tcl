proc main {} {
  set text ""
  for {set i 0} {$i < 1000000} {incr i} { append text x }
  puts [string length $text]
}
main
