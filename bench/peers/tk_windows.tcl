# The steps of a window with many entries, each with its processor time: `wish tk_windows.tcl WINDOW COUNT`.
proc step {name body} {
    set before [cpu]
    uplevel #0 $body
    update
    puts "$name [expr {[cpu] - $before}]"
}
# Processor time of this process, seconds.
proc cpu {} {
    set file [open /proc/self/schedstat]
    set nanoseconds [lindex [read $file] 0]
    close $file
    expr {$nanoseconds / 1e9}
}
lassign $argv window count
update
switch $window {
    list {
        step "fill and show" {
            listbox .l -height 20
            for {set i 0} {$i < $count} {incr i} { .l insert end "entry $i" }
            pack .l -fill both -expand 1
        }
    }
    tree {
        step "insert" {
            ttk::treeview .t -height 20
            for {set i 0} {$i < $count} {incr i} {
                .t insert [expr {$i % 100 ? "[expr {$i - $i % 100}]" : ""}] end -id $i -text "item $i"
            }
        }
        step "show" { pack .t -fill both -expand 1 }
        step "expand all" { foreach item [.t children {}] { .t item $item -open 1 } }
        step "select all" {
            set all {}
            foreach item [.t children {}] { lappend all $item {*}[.t children $item] }
            .t selection set $all
        }
        step "filter" {
            foreach item [.t children {}] {
                set found 0
                foreach child [.t children $item] {
                    if {[string first 77 [.t item $child -text]] >= 0} { incr found } else { .t detach $child }
                }
                if {!$found} { .t detach $item }
            }
        }
    }
}
exit
