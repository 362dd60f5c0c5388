#!/usr/bin/env bash
# Builds the Debian packages, checks them, installs them into a folder as root, uses the
# installed programs, and removes them. Needs no privileges.
#
# Usage: package_test.sh CPACK BUILD-FOLDER VERSION PYTHON
set -euo pipefail

cpack=$1 build=$2 version=$3 python=$4
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

(cd "$build" && "$cpack" -G DEB -B "$folder/package") >"$folder/log" 2>&1 ||
    fail "$(cat "$folder/log")"
architecture=$(dpkg --print-architecture)
library=libzorel-oibidx${version%%.*}
own="$library (= $version-1)"
system='libc6 (>=*libstdc++6 (>='

# check NAME ARCHITECTURE DEPENDS FILE...: the package has these files below usr/ and its own
# documents, and no others. DEPENDS is a glob pattern, a FILE a regular expression.
check() {
    local name=$1 depends=$3 package=$folder/package/${1}_$version-1_$2.deb
    shift 3
    [[ -f $package ]] || fail "no such package: $package"
    # shellcheck disable=SC2053
    [[ $(dpkg-deb -f "$package" Depends) == *$depends* ]] ||
        fail "$name depends on $(dpkg-deb -f "$package" Depends)"
    set -- "$@" "share/doc/$name/"{copyright,changelog.gz,changelog.Debian.gz} \
        "share/lintian/overrides/$name"
    dpkg-deb --fsys-tarfile "$package" | tar -t | grep -v '/$' | sort >"$folder/files"
    printf './usr/%s\n' "$@" >"$folder/expected"
    if grep -vxE -f "$folder/expected" "$folder/files"; then
        fail "these files do not belong in $name"
    fi
    while read -r file; do
        grep -qxE "$file" "$folder/files" || fail "not in $name: $file"
    done <"$folder/expected"
}
check "$library" "$architecture" "$system" 'lib/libZorelOibIdxComLib.so(\.[0-9.]+)?'
check libzorel-oibidx-dev "$architecture" "$own" \
    include/Zorel{OibIdxLib,Automation,Client,Text}.h lib/pkgconfig/ZorelOibIdxLib.pc \
    'lib/cmake/ZorelOibIdxLib/ZorelOibIdxLib(Config|ConfigVersion|Targets|Targets-.*).cmake' \
    'share/doc/libzorel-oibidx-dev/.*\.(md|json)'
check oibidx "$architecture" "$own*$system" bin/oibidx share/man/man1/oibidx.1.gz \
    'share/(bash-completion|zsh|fish)/.*/_?oibidx(\.fish)?'
check python3-zorel-oibidx all "$own*python3 (>= 3.11)" \
    'lib/python3/dist-packages/zorel_oibidx/([a-z_]+\.pyi?|py.typed)' \
    share/doc/python3-zorel-oibidx/examples/example.py
[[ $(find "$folder/package" -maxdepth 1 -name '*.deb' | wc -l) == 4 ]] || fail "other packages"
lintian --allow-root --fail-on error,warning "$folder/package/"*.deb || fail "lintian reports this"

# Maintainer scripts run outside the root folder; ldconfig is replaced by a script that
# records the call.
root=$folder/root
mkdir -p "$folder/bin" "$root/var/lib/dpkg/"{info,updates,triggers}
touch "$root/var/lib/dpkg/"{status,available}
printf '#!/bin/sh\necho ldconfig >>"%s"\n' "$folder/called" >"$folder/bin/ldconfig"
chmod +x "$folder/bin/ldconfig"
as_installer() {
    PATH=$folder/bin:$PATH:/usr/sbin:/sbin dpkg --root="$root" --log=/dev/null \
        --force-not-root --force-script-chrootless --force-depends "$@" >"$folder/log" 2>&1 ||
        fail "$(cat "$folder/log")"
}
as_installer -i "$folder/package/"*.deb
[[ -s $folder/called ]] || fail "ldconfig is not called for the new module"
if grep -rlI -e "$build" -e "$folder/package" "$root/usr"; then
    fail "these installed files name the build"
fi

export LD_LIBRARY_PATH=$root/usr/lib PYTHONDONTWRITEBYTECODE=1
[[ $("$root/usr/bin/oibidx" --version) == "oibidx $version" ]] || fail "another client runs"
zgrep -q "\"oibidx $version\"" "$root/usr/share/man/man1/oibidx.1.gz" ||
    fail "the manual is of another version"
mkdir -p "$folder/tree/Docs"
echo "12345" >"$folder/tree/Docs/report.txt"
"$root/usr/bin/oibidx" scan "$folder/tree" -o "$folder/catalogue" >/dev/null
found=$("$root/usr/bin/oibidx" find "$folder/catalogue" --name 'rep*.txt' --max-size 6)
[[ $found == *' C:\Docs\report.txt' ]] || fail "the search finds: $found"

# The wheel is built without a network, from a copy: the build writes into its sources.
sources=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../..
cp -rL "$sources/bindings/python" "$folder/python"
/usr/bin/python3 -m pip -q wheel --no-index --no-deps --no-build-isolation \
    -w "$folder/package" "$folder/python" >"$folder/log" 2>&1 || fail "$(cat "$folder/log")"
mkdir "$folder/site"
(cd "$folder/site" && "$python" -m zipfile -e "$folder/package/zorel_oibidx-$version-"*.whl .)
diff -r "$folder/site/zorel_oibidx" "$root/usr/lib/python3/dist-packages/zorel_oibidx" ||
    fail "the wheel has other files than the package"

# Both load the module by its name without a version.
for site in "$root/usr/lib/python3/dist-packages" "$folder/site"; do
    PYTHONPATH=$site "$python" \
        "$root/usr/share/doc/python3-zorel-oibidx/examples/example.py" \
        "$folder/catalogue" 'C:\docs' 'report' >"$folder/found"
    grep -qF '6  C:\Docs\report.txt' "$folder/found" || fail "$(cat "$folder/found")"
    MYPYPATH=$site /usr/bin/mypy --strict --cache-dir /dev/null \
        "$sources/tests/bindings/typed_client.py" ||
        fail "the types of $site are incomplete"
done

as_installer -r oibidx python3-zorel-oibidx libzorel-oibidx-dev "$library"
[[ ! -e $root/usr ]] || fail "left after the removal: $(find "$root/usr")"
