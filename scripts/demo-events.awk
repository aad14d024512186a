# Reads the events that the clients of scripts/demo printed, and tells whether they are those that media-server
# provoked: its calls follow fixed patterns (see examples/media_server/*.h), so that from one event the next one follows.

function wrong(text) {
    print "  " text
    failed = 1
}

# The value that comes after the last one of this event.
function follows(want) {
    if (count[$1] > 1 && $2 != want) wrong($1 " " $2 " after " last[$1])
}

function equal(name, want) {
    if (count[name] + 0 != want) wrong(name ": " count[name] + 0 " instead of " want)
}

# For records that may come a dump later than the call that they go with.
function nearly(name, want) {
    if (count[name] - want > 1 || want - count[name] > 1) wrong(name ": " count[name] + 0 " beside " want)
}

/^[A-Z][A-Z_0-9]* / { count[$1]++ }

BEGIN { pause = 0 }

# The volume rises in steps of 5 from 0 to 100. It is read after each change but the one to 100.
$1 == "VOLUME_CHANGED" { follows((last[$1] + 5) % 105); at[$2]++ }
$1 == "VOLUME_READ" { follows((last[$1] + 5) % 100) }
$1 == "VOLUME_HIGH" && $2 != 85 { wrong("VOLUME_HIGH at " $2) }

# Stations are opened in turn; the fifth and tenth of ten fails. Three bit rates take turns.
$1 == "STATION" { follows(station == 3 ? 5 : station == 8 ? 0 : station + 1); station = $2; opened[$2]++ }
$1 == "STATION" && count[$1] > 1 && (($2 == 5 || $2 == 0) != pause) { wrong("STATION " $2 (pause ? " after" : " without") " a failure") }
$1 == "STATION" { pause = 0 }
$1 == "OPEN_FAILED" { pause = 1 }
$1 == "BITRATE" { follows(last[$1] == 256 ? 64 : last[$1] * 2) }
$1 == "TUNED" { follows(last[$1] == 512 ? 128 : last[$1] * 2) }
$1 == "CLOSED" && $2 != 1 { wrong("CLOSED with " $2) }

# Three states, twelve tracks.
$1 == "STATE" { follows((last[$1] + 1) % 3) }
$1 == "TRACK" { follows(last[$1] % 12 + 1) }
$1 == "TRACK_AFTER" && $2 != last["TRACK"] { wrong("TRACK_AFTER " $2 " after TRACK " last["TRACK"]) }

{ last[$1] = $2 }

END {
    print "== events"
    fflush()
    for (name in count) printf "  %-16s %5d\n", name, count[name] | "sort"
    close("sort")

    changes = count["VOLUME_CHANGED"]
    if (changes < 40 || count["OPENED"] < 15 || count["STATE"] < 20) wrong("too few events")
    equal("VOLUME_HIGH", at[85])
    equal("VOLUME_MEDIUM", at[40] + at[45] + at[50] + at[55] + at[60])
    equal("VOLUME_LOW", at[0] + at[5])
    equal("VOLUME_CORNER", at[0] + at[100])
    equal("VOLUME_BETWEEN", changes - at[0] - at[100])
    nearly("PEAK", at[100])
    if (count["MUTE_TOUCHED"] < 1) wrong("never muted")
    nearly("MUTED", count["MUTE_TOUCHED"] / 2)

    equal("OPENED", count["STATION"])
    equal("STATION_3", opened[3])
    equal("BITRATE", count["OPENED"] + count["OPEN_FAILED"])
    nearly("TUNED", count["BITRATE"])
    equal("CLOSE_CALLED", count["CLOSED"])
    nearly("CLOSED", count["TUNED"])

    equal("STATUS_ASKED", count["STATE"])
    equal("TRACK_AFTER", count["TRACK"])
    nearly("TRACK", count["STATE"])
    nearly("ALIVE", count["TRACK"])
    equal("NOT_ALIVE", 0)
    print failed ? "== the events are NOT those that media-server provoked" : "== all events are those that media-server provoked"
    exit failed
}
