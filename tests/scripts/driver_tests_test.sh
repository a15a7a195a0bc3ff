#!/bin/sh
# driver_tests_test.sh SOURCE: scripts/driver_tests.sh with a `ctest` that fails as each case says.
set -eu
source=$1
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
mkdir -p "$root/bin" "$root/build/Testing/Temporary"
# Fails the tests that $FAILS names, a second time as well with $AGAIN; $NOTES are retries of the tests' own.
cat >"$root/bin/ctest" <<'CTEST'
#!/bin/sh
case "$*" in *--rerun-failed*) [ -z "$AGAIN" ]; exit ;; esac
for note in $NOTES; do echo "$note" >>"$QUILLBAY_RETRIES"; done
for test in $FAILS; do echo "1:$test" >>"$ROOT/build/Testing/Temporary/LastTestsFailed.log"; done
[ -z "$FAILS" ]
CTEST
chmod +x "$root/bin/ctest"

check() { # check STATUS SAYS FAILS AGAIN NOTES
  status=0
  ROOT="$root" FAILS=$3 AGAIN=$4 NOTES=$5 PATH="$root/bin:$PATH" \
    "$source/scripts/driver_tests.sh" "$root/build" >"$root/out" 2>&1 || status=$?
  if [ $((status != 0)) != "$1" ] || { [ -n "$2" ] && ! grep -q "$2" "$root/out"; }; then
    echo "failing \"$3\", again \"$4\", notes \"$5\": status $status" >&2
    cat "$root/out" >&2
    exit 1
  fi
}
check 0 '' '' '' ''
check 0 'run again: 1:one' one '' ''
check 0 'page-1' '' '' page-1
check 1 'run again: 1:one' one again ''
check 1 'more than one of the tests' 'one two' '' ''
check 1 'more than one retry' one '' page-1
check 1 'more than one retry' '' '' 'page-1 page-2'
