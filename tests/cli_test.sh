#!/usr/bin/env bash
# The quillon tool's contract: outputs, JSON shapes, error lines and exit statuses.
# usage: cli_test.sh QUILLON  (run from the source tree's top)
set -u
quillon=$1
if [ -n "${QUILLON_EMULATED:-}" ]; then
  tmp=$(mktemp -d .cli-test.XXXXXX)  # relative: a Windows build under wine takes no Unix absolute path
else
  tmp=$(mktemp -d "${TMPDIR:-/tmp}/quillon-cli.XXXXXX")
fi
trap 'rm -rf "$tmp"' EXIT
passed=0 failed=0

# expect NAME STATUS STDOUT-REGEX STDERR-REGEX -- COMMAND...  (bash regexes; $'\n' for newlines)
expect() {
  local name=$1 status=$2 out=$3 err=$4
  shift 5
  "$@" >"$tmp/out" 2>"$tmp/err" <"${STDIN:-/dev/null}"
  local got=$? stdout stderr
  stdout=$(cat "$tmp/out"; echo .) stderr=$(cat "$tmp/err"; echo .)  # the dot keeps final newlines
  if [ "$got" = "$status" ] && [[ ${stdout%.} =~ $out ]] && [[ ${stderr%.} =~ $err ]]; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    echo "FAIL $name: exit $got"; head -c 400 "$tmp/out"; head -c 400 "$tmp/err"
  fi
}

# check NAME COMMAND...: passes when the command succeeds; same A B: A and B are equal.
check() {
  local name=$1
  shift
  if "$@"; then passed=$((passed + 1)); else failed=$((failed + 1)); echo "FAIL $name"; fi
}
same() { [ "$1" = "$2" ]; }

N=$'\n' T=$'\t'
expect version 0 '^quillon [0-9]+\.[0-9]+\.[0-9]+' '^$' -- "$quillon" --version
expect unknown-command 2 '^$' "^unknown command 'frobnicate'$N" -- "$quillon" frobnicate
expect unknown-option 2 '^$' "^unknown option '-V'$N" -- "$quillon" -V
expect missing-argument 2 '^$' '.' -- "$quillon" languages
expect help-of-a-command 0 "--pair FIRST SECOND +Keep.*--allow-external.*map's own order" '^$' -- "$quillon" units --help
for command in languages units export size pack dump; do
  expect "$command-missing-file" 1 '^$' "^$tmp/none: error: cannot open the file \\(No such file or directory\\)$N\$" \
    -- "$quillon" "$command" "$tmp/none"
done

expect languages-text 0 "^de-DE${N}en-US${N}fr-FR${N}ja-JP${N}\$" '^$' -- "$quillon" languages examples/sample.tmx
STDIN=examples/sample.tmx expect languages-stdin-json 0 \
  '^[{]"result":true,"languages":\["de-DE","en-US","fr-FR","ja-JP"\][}]'"$N\$" '^$' -- "$quillon" languages --json -
printf '<tmx><header/></tmx>' >"$tmp/nobody.tmx"
expect languages-none 0 '^[{]"result":false,"languages":\[\][}]'"$N\$" '^$' -- "$quillon" languages --json "$tmp/nobody.tmx"
expect languages-not-tmx 0 '^$' "^examples/sample.xml: warning: not a TMX document: its root element is <catalog>, not <tmx>$N\$" \
  -- "$quillon" languages examples/sample.xml
printf '<tmx>\n<body>\n<tu>' >"$tmp/cut.tmx"
STDIN=$tmp/cut.tmx expect languages-malformed-stdin 1 '^$' "^<stdin>:3:5: error: [^$N]+$N\$" -- "$quillon" languages -

printf '<tmx><body>\n<tu><note>a\tb</note><tuv lang="en"><seg>x\\y\nz</seg></tuv></tu></body></tmx>' >"$tmp/esc.tmx"
expect units-text-escapes 0 "^0${T}en${T}x[\\\\][\\\\]y[\\\\]nz${T}a[\\\\]tb$N\$" '^$' -- "$quillon" units "$tmp/esc.tmx"
expect units-pair-json 0 '^[{]"result":true,"units":\[[{]"key":0,"variants":\[[{]"language":"en-US","segment":"Welcome to Lumen!","note":"Shown on the first start."[}],[{]"language":"de-DE"' \
  '^$' -- "$quillon" units --pair en-US de-DE --json examples/sample.tmx
expect units-no-body 0 '^[{]"result":false,"units":\[\][}]'"$N\$" '^$' -- "$quillon" units --pair en de --json "$tmp/nobody.tmx"
expect units-pair-and-all 2 '^$' '.' -- "$quillon" units --pair en de --all examples/sample.tmx

# export --text engine: the units of `units`, in document order. JSON strings escape their
# quotes, so a unit object starts wherever ,{"key": occurs.
json_units() { sed -e 's/^{"result":[a-z]*,"units":\[//' -e 's/\]}$//' -e 's/,{"key":/\n{"key":/g' | LC_ALL=C sort -s -t: -k2,2n; }
for f in examples/sample.tmx tests/fuzz/seeds/units.tmx "$tmp/esc.tmx"; do
  for pair in "" "--pair en-US de-DE"; do
    check "export-json $f $pair" same "$("$quillon" units --json $pair "$f" | json_units)" "$("$quillon" export --text engine $pair "$f")"
    check "export-tsv $f $pair" same "$("$quillon" units $pair "$f" | LC_ALL=C sort -s -n -k1,1)" \
      "$("$quillon" export --text engine --format tsv $pair "$f")"
  done
done
# The export suites read with one parser, then in the smallest pieces by three.
for jobs in "--jobs 1" "--jobs 3 --piece-size 1"; do
  STDIN=examples/sample.tmx expect export-stdin 0 '^[{]"key":0,"tuid":"welcome","variants":\[[{]"language":"en-US"' '^$' -- "$quillon" export $jobs --pair en-US fr-FR -
  printf '<tmx><body>\n<tu><tuv lang="en"><seg>a</seg></tuv></tu>\n<tu><tuv lang="en"><seg>b</seg></tuv></tu>\n<tu></tmx>' >"$tmp/late.tmx"
  expect export-late-error 1 "^[{]\"key\":0,.*$N[{]\"key\":1,.*$N\$" "^$tmp/late.tmx:4:[0-9]+: error: [^$N]+$N\$" -- "$quillon" export $jobs --pair en de "$tmp/late.tmx"
  printf '<tmx><body>\n<tu><tuv lang="en"><seg> a\r\nb\tc </seg></tuv><tuv lang="de"><seg>x</seg></tuv></tu>\n<tu><tuv lang="en"><seg>only</seg></tuv><tuv lang="de"><seg> </seg></tuv></tu></body></tmx>' >"$tmp/par.tmx"
  expect export-moses 0 '^$' "^1 unit written, 1 skipped$N\$" -- "$quillon" export $jobs --format moses --pair EN de -o "$tmp/par" "$tmp/par.tmx"
  check moses-files same "$(cat "$tmp/par.EN")|$(cat "$tmp/par.de")" "a b c|x"
  expect export-moses-quiet 0 '^$' '^$' -- "$quillon" export $jobs --format moses --pair EN de --quiet -o "$tmp/par" "$tmp/par.tmx"
  expect export-moses-needs-pair 2 '^$' 'needs --pair' -- "$quillon" export $jobs --format moses -o "$tmp/p" examples/sample.tmx
  for pair in "en-US EN-us" "en_us EN-US" "en en-US" "* de"; do
    read -r first second <<<"$pair"
    expect "export-pairs-overlap $pair" 2 '^$' "needs two languages that do not overlap, not [^ ]+ and " \
      -- "$quillon" export $jobs --format pairs --pair "$first" "$second" examples/sample.tmx
  done
  expect export-moses-one-language 2 '^$' 'do not overlap' -- "$quillon" export $jobs --format moses --pair en-US EN-us -o "$tmp/p" examples/sample.tmx
  for language in ../x a/b; do
    expect "export-moses-language-$language" 2 '^$' "'$language' cannot end a file name" \
      -- "$quillon" export $jobs --format moses --pair en "$language" -o "$tmp/p" examples/sample.tmx
  done
  # -o writes beside the target and renames only a complete file; standard output gets the units
  # before the error.
  printf 'kept' >"$tmp/kept.jsonl"
  expect export-late-error-file 1 '^$' "^$tmp/late.tmx:4:[0-9]+: error: " -- "$quillon" export $jobs --output "$tmp/kept.jsonl" "$tmp/late.tmx"
  expect export-late-error-moses 1 '^$' "^$tmp/late.tmx:4:[0-9]+: error: " -- "$quillon" export $jobs --format moses --pair en de -o "$tmp/late" "$tmp/late.tmx"
  expect export-to-file 0 '^$' '^$' -- "$quillon" export $jobs -o "$tmp/all.jsonl" examples/sample.tmx
  check output-files same "$(cat "$tmp/kept.jsonl") $(ls "$tmp" | grep -cF -e quillon- -e late.en) $(wc -l <"$tmp/all.jsonl")" "kept 0 12"
  printf '<tmx><body>\n<tu><tuv lang="en"><seg>a&#13;b</seg></tuv></tu></body></tmx>' >"$tmp/cr.tmx"
  for command in units "export --format tsv"; do
    expect "carriage-return-$command" 0 "^0${T}en${T}a[\\\\]rb${T}$N\$" '^$' -- "$quillon" $command "$tmp/cr.tmx"
  done

  # The text of a segment as real tools write it, in each mode; plain and markup units are the
  # multilingual ones, their pair a pair of language ranges.
  seg='Click <bpt i="1">{\b </bpt>Save<ept i="1">}</ept> to keep <ph x="2">&lt;br/&gt;</ph>your work.'
  printf '<tmx><body>\n<tu tuid="t1"><tuv xml:lang="en-US"><seg>%s</seg></tuv><tuv xml:lang="de-DE"><seg>Sichern</seg></tuv></tu></body></tmx>' \
    "$seg" >"$tmp/codes.tmx"
  while IFS='|' read -r options expected; do
    check "segment-text $options" same "$("$quillon" export $jobs $options --format tsv "$tmp/codes.tmx" | head -n 1)" "$expected"
  done <<'EOF'
|0	en-US	Click Save to keep your work.	
--text markup|0	en-US	Click <bpt i="1">{\\b </bpt>Save<ept i="1">}</ept> to keep <ph x="2">&lt;br/&gt;</ph>your work.	
--text engine|0	en-US	Click 	
--text engine --pair en-US de-DE|0	en-US	Click {\\b Save} to keep <br/>your work.	
--pair en de|0	en-US	Click Save to keep your work.	
--pair EN_us DE|0	en-US	Click Save to keep your work.	
--pair en-GB de|0	de-DE	Sichern	
EOF
  expect pairs 0 "^[{]\"key\":0,\"tuid\":\"t1\",\"translation\":[{]\"en\":\"Click Save to keep your work.\",\"de\":\"Sichern\"[}][}]$N\$" \
    "^1 unit written, 0 skipped$N\$" -- "$quillon" export $jobs --format pairs --pair en de "$tmp/codes.tmx"
  expect pairs-engine 0 '^$' "^0 units written, 0 skipped$N\$" -- "$quillon" export $jobs --text engine --format pairs --pair en de "$tmp/codes.tmx"
  expect pairs-needs-pair 2 '^$' 'needs --pair' -- "$quillon" export $jobs --format pairs examples/sample.tmx
  expect dedupe-needs-pairs 2 '^$' 'needs --format moses or pairs' -- "$quillon" export $jobs --dedupe examples/sample.tmx
  expect bad-text 2 '^$' '.' -- "$quillon" export $jobs --text html examples/sample.tmx
  # Repeats after whitespace is made plain are dropped and counted; an empty side skips the unit.
  printf '<tmx><body>\n<tu><tuv lang="en"><seg>a  b</seg></tuv><tuv lang="de"><seg>x</seg></tuv></tu>\n<tu><tuv lang="en-GB"><seg> a\tb\n</seg></tuv><tuv lang="de"><seg>x </seg></tuv></tu>\n<tu><tuv lang="en"><seg>a b</seg></tuv><tuv lang="de"><seg>y</seg></tuv></tu>\n<tu><tuv lang="en"><seg>a b</seg></tuv><tuv lang="de"><seg> </seg></tuv></tu></body></tmx>' >"$tmp/dup.tmx"
  for format in moses pairs; do
    expect "dedupe-$format" 0 '.*' "^2 units written, 1 skipped, 1 dropped as duplicates$N\$" \
      -- "$quillon" export $jobs --format $format --dedupe --pair en de -o "$tmp/dup" "$tmp/dup.tmx"
  done
  check dedupe-moses-files same "$(cat "$tmp/dup.en")|$(cat "$tmp/dup.de")" "a b${N}a b|x${N}y"
  expect export-bad-format 2 '^$' '.' -- "$quillon" export $jobs --format xml examples/sample.tmx
done
expect languages-stream 0 "^de-DE${N}en-US${N}fr-FR${N}ja-JP${N}\$" '^$' -- "$quillon" languages --stream examples/sample.tmx

printf '<?xml version="1.0" encoding="UTF-8"?><a x="1"><b/></a>' >"$tmp/w.xml"
expect size-text 0 "^5 nodes, 240 bytes$N\$" '^$' -- "$quillon" size "$tmp/w.xml"
expect size-json 0 '^[{]"nodes":5,"size":240[}]'"$N\$" '^$' -- "$quillon" size --json "$tmp/w.xml"
expect pack-file 0 '^$' '^$' -- "$quillon" pack -o "$tmp/w.img" "$tmp/w.xml"
STDIN=$tmp/w.xml expect size-stdin 0 "^5 nodes, 240 bytes$N\$" '^$' -- "$quillon" size -
"$quillon" pack - <"$tmp/w.xml" >"$tmp/stdin.img"
check pack-stdin cmp -s "$tmp/stdin.img" "$tmp/w.img"
if [ -z "${QUILLON_EMULATED:-}" ] && command -v script >/dev/null; then  # a terminal, as script gives one
  expect pack-to-terminal 2 'will not write a binary image to a terminal' '^$' \
    -- script -qec "$quillon pack $tmp/w.xml" /dev/null
fi
check pack-size same "$(wc -c <"$tmp/w.img")" 230
expect dump-json 0 '"records":\[[{]"name":"#document","value":"","index":0,"depth":0,"flags":\[0,1,0,0,0,0,0,0\][}]' '^$' \
  -- "$quillon" dump --json "$tmp/w.img"
cp "$tmp/w.img" "$tmp/翻訳.img"  # a name the Windows code page cannot say
expect dump-wide-name 0 '"depth":0,"flags":\[0,1,0,0,0,0,0,0\]' '^$' -- "$quillon" dump --json "$tmp/翻訳.img"
head -c 200 "$tmp/w.img" >"$tmp/cut.img"
expect dump-truncated 1 '^$' "^$tmp/cut.img: error: [^$N]*record 3 at offset 200$N\$" -- "$quillon" dump "$tmp/cut.img"
printf '<?xml version="1.0-"?><tmx/>' >"$tmp/version.tmx"
expect dom-exception 1 '^$' "^$tmp/version.tmx: error: [^$N]+$N\$" -- "$quillon" languages "$tmp/version.tmx"
printf '<a><b></a>' >"$tmp/bad.xml"
expect pack-malformed 1 '^$' "^$tmp/bad.xml:1:[0-9]+: error: " -- "$quillon" pack "$tmp/bad.xml"

# Safe defaults: nothing external is loaded and entity expansion is capped, unless allowed.
printf '<!DOCTYPE tmx SYSTEM "tmx14.dtd"><tmx><body><tu><tuv lang="en"/></tu></body></tmx>' >"$tmp/dtd.tmx"
expect absent-dtd-read 0 "^en$N\$" '^$' -- "$quillon" languages "$tmp/dtd.tmx"
expect absent-dtd-streamed 0 "^en$N\$" '^$' -- "$quillon" languages --stream "$tmp/dtd.tmx"
expect absent-dtd-allowed 1 '^$' "^$tmp/dtd.tmx:1:[0-9]+: error: " -- "$quillon" --allow-external languages "$tmp/dtd.tmx"
printf '<!DOCTYPE tmx SYSTEM "http://127.0.0.1:9/tmx14.dtd"><tmx><body><tu><tuv lang="en"/></tu></body></tmx>' >"$tmp/http.tmx"
expect http-dtd-not-fetched 0 "^en$N\$" '^$' -- "$quillon" languages "$tmp/http.tmx"
printf 's3cret' >"$tmp/secret.txt"
# The entity's path is relative to the document.
printf '<!DOCTYPE tmx [<!ENTITY x SYSTEM "secret.txt">]><tmx><body>\n<tu><tuv lang="en"><seg>&x;</seg></tuv></tu></body></tmx>' \
  >"$tmp/xxe.tmx"
refused="error: external entity 'secret.txt' not loaded: the safe defaults load nothing external \\(--allow-external loads it\\)$N\$"
expect external-entity-refused 1 '^$' "^$tmp/xxe.tmx:2:[0-9]+: $refused" -- "$quillon" units "$tmp/xxe.tmx"
expect external-entity-refused-stream 1 '^$' "^$tmp/xxe.tmx:2:[0-9]+: $refused" -- "$quillon" export "$tmp/xxe.tmx"
expect external-entity-allowed 0 "^0${T}en${T}s3cret${T}$N\$" '^$' -- "$quillon" units --allow-external "$tmp/xxe.tmx"
laughs='<!DOCTYPE t [<!ENTITY a0 "lol">'
for i in 1 2 3 4 5 6 7 8 9; do laughs+="<!ENTITY a$i \"$(for k in 1 2 3 4 5 6 7 8 9 10; do printf '&a%d;' $((i - 1)); done)\">"; done
printf '%s]><t>&a9;</t>' "$laughs" >"$tmp/laughs.xml"
expect laughs-languages 1 '^$' "beyond the safe limit.*--allow-external lifts it" -- timeout 120 "$quillon" languages "$tmp/laughs.xml"
expect laughs-size 1 '^$' "beyond the safe limit.*--allow-external lifts it" -- timeout 120 "$quillon" size "$tmp/laughs.xml"
# Large memories as tools write them, full of escaped codes, one naming its product through an
# entity: the safe defaults read them to the end with one parser and with every core.
for memory in codes entity; do
  awk -v entity=$([ $memory = entity ] && echo 1 || echo 0) 'BEGIN {
    product = entity ? "&product;" : "Lumen"
    if (entity) print "<!DOCTYPE tmx SYSTEM \"tmx14.dtd\" [<!ENTITY product \"Lumen Photo\">]>"
    print "<tmx version=\"1.4\"><header/><body>"
    for (i = 0; i < 60000; i++) {
      code = i % 4 ? "" : "<bpt i=\"1\">&lt;b&gt;</bpt>" product "<ept i=\"1\">&lt;/b&gt;</ept> "
      printf "<tu tuid=\"%d\"><tuv xml:lang=\"en-US\"><seg>%sSave %s</seg></tuv>", i, code, product
      printf "<tuv xml:lang=\"de-DE\"><seg>%s%s speichern</seg></tuv></tu>\n", code, product
    }
    print "</body></tmx>" }' >"$tmp/large-$memory.tmx"
  for jobs in "--jobs 1" ""; do
    expect "large-$memory $jobs" 0 '^$' '^$' -- "$quillon" export $jobs --quiet -o "$tmp/large.jsonl" "$tmp/large-$memory.tmx"
    check "large-$memory-units $jobs" same "$(wc -l <"$tmp/large.jsonl")" 60000
  done
done

# A compressed memory is read as the memory it holds, named anything, from a file or a pipe; one
# cut short is an error that names it, after the units before the cut.
gzip -c examples/sample.tmx >"$tmp/sample.gz"
for jobs in "--jobs 1" ""; do
  check "gzip $jobs" same "$("$quillon" export examples/sample.tmx)" "$("$quillon" export $jobs "$tmp/sample.gz")"
  STDIN=$tmp/sample.gz expect "gzip-stdin $jobs" 0 '^[{]"key":0,"tuid":"welcome"' '^$' -- "$quillon" export $jobs -
done
head -c 700 "$tmp/sample.gz" >"$tmp/cut.gz"
expect gzip-cut 1 '^[{]"key":0,' "^$tmp/cut.gz: error: the gzip stream is cut short$N\$" -- "$quillon" export "$tmp/cut.gz"

# Failed writes and reads are errors, and a position is given only where the parser has one.
printf '<?xml version="1.0-"?><tmx/>' >"$tmp/version.tmx"
expect no-position 1 '^$' "^$tmp/version.tmx: error: implementation does not support" -- "$quillon" export "$tmp/version.tmx"
# A byte that is not UTF-8 is placed where it is, even in the first line.
printf '<?xml v\xe2n>' >"$tmp/first-line.tmx"
expect bad-byte-placed 1 '^$' "^$tmp/first-line.tmx:1:8: error: byte 0xE2 is not UTF-8$N\$" -- "$quillon" export "$tmp/first-line.tmx"
# or read as U+FFFD and counted, by one parser and in pieces alike.
printf '<tmx><body><tu><tuv lang="en"><seg>caf\xe9</seg></tuv><tuv lang="fr"><seg>\xff\xfe</seg></tuv></tu></body></tmx>' >"$tmp/latin1.tmx"
R=$(printf '\357\277\275')
for jobs in "--jobs 1" "--jobs 2 --piece-size 1"; do
  expect "replace-bytes $jobs" 0 "\"segment\":\"caf$R\".*\"segment\":\"$R$R\"" \
    "^3 invalid bytes read as U[+]FFFD$N\$" -- "$quillon" export $jobs --invalid-bytes replace "$tmp/latin1.tmx"
  expect "replace-bytes-pairs $jobs" 0 '.' "^1 unit written, 0 skipped, 3 invalid bytes read as U[+]FFFD$N\$" \
    -- "$quillon" export $jobs --invalid-bytes replace --format pairs --pair en fr "$tmp/latin1.tmx"
done
if [ -z "${QUILLON_EMULATED:-}" ]; then
  for command in "languages examples/sample.tmx" "units examples/sample.tmx" "export examples/sample.tmx" \
                 "size examples/sample.xml" "pack examples/sample.xml" "dump $tmp/w.img"; do
    expect "full-disk $command" 1 '.*' "^<stdout>: error: cannot write \\(No space left on device\\)$N\$" \
      -- sh -c "exec \"\$0\" $command >/dev/full" "$quillon"
  done
  for command in languages units export size pack dump; do
    STDIN=$tmp expect "stdin-read-error $command" 1 '^$' "^<stdin>: error: cannot read \\(Is a directory\\)$N\$" -- "$quillon" $command -
  done
  # A name that is not UTF-8 names a file all the same.
  odd=$tmp/$'\xff'
  cp examples/sample.tmx "$odd.tmx" && cp examples/sample.xml "$odd.xml"
  for command in languages units export; do
    check "odd-name $command" same "$("$quillon" $command "$odd.tmx")" "$("$quillon" $command examples/sample.tmx)"
  done
  check odd-name-pack same "$("$quillon" pack "$odd.xml" | od -c)" "$("$quillon" pack examples/sample.xml | od -c)"

  # -o writes into what it names and leaves it what it was: through a link into its target, into
  # a device (one of the test's own when it may make one, else the system's null device) and
  # into a pipe with a reader. moses writes two files, -o naming their common stem.
  device=/dev/null
  mknod "$tmp/device" c 1 3 2>/dev/null && device=$tmp/device
  for run in ".jsonl|.jsonl|export --quiet examples/codes.tmx" ".img|.img|pack examples/sample.xml" \
             "|.en .de|export --quiet --pair en de --format moses examples/codes.tmx"; do
    IFS='|' read -r named files args <<<"$run"
    read -r -a suffixes <<<"$files"
    mkdir "$tmp/kinds" && (cd "$tmp/kinds" && mkdir made link device pipe)
    k=$tmp/kinds
    "$quillon" $args -o "$k/made/out$named" 2>/dev/null
    for s in "${suffixes[@]}"; do
      echo old >"$k/link/target$s" && ln -s "target$s" "$k/link/out$s"
      ln -s "$device" "$k/device/out$s"
      mkfifo "$k/pipe/out$s" && { timeout 60 cat "$k/pipe/out$s" >"$k/pipe/got$s" & }
    done
    for kind in link device pipe; do
      expect "output-into-$kind $args" 0 '^$' '.*' -- timeout 60 "$quillon" $args -o "$k/$kind/out$named"
    done
    wait
    for s in "${suffixes[@]}"; do
      check "output-link-stays $args $s" test -L "$k/link/out$s" -a -L "$k/device/out$s"
      check "output-link-target $args $s" cmp -s "$k/made/out$s" "$k/link/target$s"
      check "output-pipe-stays $args $s" test -p "$k/pipe/out$s"
      check "output-pipe-read $args $s" cmp -s "$k/made/out$s" "$k/pipe/got$s"
    done
    [ -n "$named" ] && expect "output-into-device-itself $args" 0 '^$' '.*' -- timeout 60 "$quillon" $args -o "$device"
    check "output-device-stays $args" test -c "$device"
    check "output-nothing-left $args" same "$(find "$k" -name "*.quillon-*")" ""
    rm -rf "$k"
  done
fi

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
