load [lindex $argv 0]/bench_peer_tcl.so Benchpeer
proc main {} {
  for {set i 0} {$i < 200000} {incr i} { eval "display_size a $i b 2 c 3 d 4 e 5" }
  puts done
}
main
