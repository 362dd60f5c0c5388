# For the package tests; sourced: a temporary folder and a failure.
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

fail() {
    echo "$*"
    exit 1
}
