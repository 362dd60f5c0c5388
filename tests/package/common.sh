# What the package tests share; to be sourced: a folder of the test's own, and its end.
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

fail() {
    echo "$*"
    exit 1
}
