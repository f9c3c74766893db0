# The fuzzers, as ./test, ./fuzz and ./soak run them. Sourced after common.sh.

fuzzer_names() { ls "$root/fuzzers/corpus"; }

# fuzz_one NAME SECONDS FOLDER [libFuzzer's options]: from the kept corpus and the one in FOLDER, where new inputs, findings and
# the output stay.
fuzz_one() {
    local name=$1 seconds=$2 folder=$3; shift 3
    mkdir -p "$folder/corpus"
    limited $((seconds + 300)) "$root/build/native-fuzz/bin/fuzz_$name" -max_total_time="$seconds" -timeout=60 \
        -print_final_stats=1 "$@" -artifact_prefix="$folder/" "$folder/corpus" "$root/fuzzers/corpus/$name" >"$folder/output" 2>&1
}

# fuzz_figures FOLDER: what a run did.
fuzz_figures() {
    local inputs edges
    inputs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$1/output")
    edges=$(sed -n 's/.* cov: \([0-9]*\) .*/\1/p' "$1/output" | tail -n 1)
    echo "$(grouped "${inputs:-0}") inputs, ${edges:-0} edges reached, seed $(sed -n 's/^INFO: Seed: //p' "$1/output")"
}
