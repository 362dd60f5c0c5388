#!/usr/bin/env bash
# Builds the Debian package, checks its contents, installs it into a folder as root, uses the
# installed programs, and removes it. Needs no privileges.
#
# Usage: package_test.sh CPACK BUILD-FOLDER VERSION PYTHON
set -euo pipefail

cpack=$1 build=$2 version=$3 python=$4
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

(cd "$build" && "$cpack" -G DEB -B "$folder/package") >"$folder/log" 2>&1 ||
    fail "$(cat "$folder/log")"
architecture=$(dpkg --print-architecture)
package=$folder/package/zorel-oibidx_${version}_$architecture.deb
[[ -f $package ]] || fail "no such package: $package"

field() { dpkg-deb -f "$package" "$1"; }
[[ $(field Package) == zorel-oibidx && $(field Version) == "$version" ]] ||
    fail "the package has another name or version"
[[ $(field Architecture) == "$architecture" ]] || fail "it is for $(field Architecture)"
[[ $(field Depends) == *'libc6 (>='*'libstdc++6 (>='* ]] || fail "it depends on $(field Depends)"
[[ $(field Maintainer) == *@* && -n $(field Description) ]] || fail "a field is missing"

dpkg-deb --fsys-tarfile "$package" | tar -t | grep -v '/$' | sort >"$folder/files"
for file in bin/oibidx lib/.*libZorelOibIdxComLib.so include/Zorel{OibIdxLib,Automation,Client,Text}.h \
    lib/.*cmake/ZorelOibIdxLib/ZorelOibIdxLib{Config,Targets}.cmake \
    lib/.*pkgconfig/ZorelOibIdxLib.pc lib/python3/dist-packages/zorel_oibidx/__init__.py \
    share/{man/man1/oibidx.1,bash-completion/completions/oibidx,doc/zorel-oibidx/examples/example.py}; do
    grep -qxE "./usr/$file" "$folder/files" || fail "not in the package: $file"
done
if grep -vE '^./usr/(bin|lib|include|share)/' "$folder/files" ||
    grep -E '__pycache__|gtest|gmock|_test|\.a$' "$folder/files"; then
    fail "these files do not belong in the package"
fi

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
as_installer -i "$package"
[[ -s $folder/called ]] || fail "ldconfig is not called for the new module"
if grep -rlI -e "$build" -e "$folder/package" "$root/usr"; then
    fail "these installed files name the build"
fi

[[ $("$root/usr/bin/oibidx" --version) == "oibidx $version" ]] || fail "another client runs"
grep -q "\"oibidx $version\"" "$root/usr/share/man/man1/oibidx.1" || fail "the manual is of another version"
mkdir -p "$folder/tree/Docs"
echo "12345" >"$folder/tree/Docs/report.txt"
"$root/usr/bin/oibidx" scan "$folder/tree" -o "$folder/catalogue" >/dev/null
found=$("$root/usr/bin/oibidx" find "$folder/catalogue" --name 'rep*.txt' --max-size 6)
[[ $found == *' C:\Docs\report.txt' ]] || fail "the search finds: $found"
module=$(find "$root/usr/lib" -name libZorelOibIdxComLib.so)
LD_LIBRARY_PATH=$(dirname "$module") PYTHONPATH=$root/usr/lib/python3/dist-packages \
    PYTHONDONTWRITEBYTECODE=1 "$python" "$root/usr/share/doc/zorel-oibidx/examples/example.py" \
    "$folder/catalogue" 'C:\docs' 'report' >"$folder/found"
grep -qF '6  C:\Docs\report.txt' "$folder/found" || fail "$(cat "$folder/found")"

as_installer -r zorel-oibidx
[[ ! -e $root/usr ]] || fail "left after the removal: $(find "$root/usr")"
