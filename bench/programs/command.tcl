load [lindex $argv 0]/bench_peer_tcl.so Benchpeer
proc main {} {
  for {set i 0} {$i < 1000000} {incr i} { display_size a 1 }
  puts $w
}
main
