#!/bin/sh
# driver_tests.sh BUILD [CTEST ARGUMENT ...]: runs the tests with the labels "driver" and "driver-programs".
#
# The system's test scanner cancels its own reading thread, which now and then (one page in some thousands) waits for a
# lock of its own for ever. In a whole run one test that drives it gets another try; every retry is printed, and more
# than one fails the run. Tests that repeat a single page themselves write a line into the file $QUILLBAY_RETRIES.
set -eu
build=$1
shift
QUILLBAY_RETRIES="$(cd "$build" && pwd)/driver-retries.txt"
export QUILLBAY_RETRIES
: >"$QUILLBAY_RETRIES"
failed="$build/Testing/Temporary/LastTestsFailed.log"
rm -f "$failed"

if ! ctest --test-dir "$build" --output-on-failure "$@" -L '^driver(-programs)?$'; then
  if [ ! -f "$failed" ] || [ "$(wc -l <"$failed")" -gt 1 ]; then
    echo "more than one of the tests with the system's scanner driver failed" >&2
    exit 1
  fi
  echo "failed, is run again: $(cat "$failed")" | tee -a "$QUILLBAY_RETRIES"
  ctest --test-dir "$build" --output-on-failure --rerun-failed
fi
[ -s "$QUILLBAY_RETRIES" ] || exit 0
echo "run again because of the system's scanner driver:"
cat "$QUILLBAY_RETRIES"
if [ "$(wc -l <"$QUILLBAY_RETRIES")" -gt 1 ]; then
  echo "more than one retry in a run is no accident of the driver" >&2
  exit 1
fi
