# Functions of demo, test and bench. Source this file with the repository as working folder.

say() {
    printf '\n== %s\n' "$*"
}

# build_preset PRESET [-DOPTION=VALUE...] [-- TARGET...]: configures and builds it; without
# targets, everything.
build_preset() {
    local preset=$1 options=()
    shift
    while (($# > 0)) && [[ $1 != -- ]]; do
        options+=("$1")
        shift
    done
    shift $(($# > 0 ? 1 : 0))
    cmake --preset "$preset" "${options[@]}" --log-level=WARNING
    cmake --build --preset "$preset" ${1+--target "$@"}
}
