#!/usr/bin/env bash
# throw_away_root.sh ROOT PACKAGES STANDINS C_COMPILER VERSION: installs the Debian packages of the
# folder PACKAGES with dpkg in a root of its own, which holds nothing but what they depend on, and
# runs the inspector, a client and the Python package there. The stack's packages are made here, from the stand-ins.
set -euo pipefail

# dpkg and chroot want a user 0; nothing outside of the throw-away root is written.
if ((EUID != 0)); then exec unshare --map-root-user bash -- "$0" "$@"; fi

root=$1
packages=$2
standins=$3
cc=$4
version=$5

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
there=$work/root
triplet=$(dpkg-architecture --query DEB_HOST_MULTIARCH)
architecture=$(dpkg --print-architecture)

fail() {
  printf '%s\n' "$*"
  exit 1
}

# quietly COMMAND...
quietly() { "$@" >"$work/log" 2>&1 || fail "$(cat "$work/log")"; }

dpkg_there() { LC_ALL=C dpkg --root="$there" --force-not-root --log=/dev/null "$@"; }
# state_of NAME: of a package there
state_of() {
  dpkg-query --admindir="$there/var/lib/dpkg" --show \
    --showformat='${db:Status-Status} ${Version}' "$1"
}
in_root() { LC_ALL=C.UTF-8 PATH=/usr/sbin:/usr/bin HOME=/tmp chroot "$there" "$@"; }

# package_of NAME: its file
package_of() {
  local files=("$packages/$1"_*_"$architecture".deb)
  [[ ${#files[@]} == 1 && -f ${files[0]} ]] || fail "no package, or more than one: ${files[*]}"
  printf '%s\n' "${files[0]}"
}
library=$(package_of libqo-cmc-parser)
symbols=$(package_of libqo-cmc-parser-dbg)
development=$(package_of libqo-cmc-parser-dev)
inspector=$(package_of qo-cmc)
inspector_symbols=$(package_of qo-cmc-dbg)
python=$(package_of python3-qo-cmc)
python_symbols=$(package_of python3-qo-cmc-dbg)
ours=("$library" "$symbols" "$development" "$inspector" "$inspector_symbols" "$python"
  "$python_symbols")

# names_in: the packages that Depends fields name, of alternatives the first
names_in() { tr ',' '\n' | sed 's/|.*//; s/(.*//; s/:any//; s/[[:space:]]//g; /^$/d'; }

# What our packages depend on, with all that this depends on; and what packages may take for granted,
# as far as their scripts use it.
mapfile -t wanted < <(
  {
    for package in "${ours[@]}"; do dpkg-deb --field "$package" Depends; done |
      names_in | grep -v -e '^libqo-' -e '^qo-' -e '^python3-qo-'
    printf '%s\n' dash findutils
  } | sort -u)
declare -A taken
while ((${#wanted[@]})); do
  package=${wanted[0]}
  wanted=("${wanted[@]:1}")
  [[ ! -v taken[$package] ]] || continue
  taken[$package]=1
  state=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null) || state=none
  # The first alternative may not be the one that is installed here.
  [[ $state == installed ]] || continue
  mapfile -t -O "${#wanted[@]}" wanted < <(
    dpkg-query --show --showformat='${Depends},${Pre-Depends}\n' "$package" | names_in)
done

# They stand there as dpkg left them here.
mkdir -p "$there"/{dev,etc,tmp,usr/{bin,sbin,lib,lib64},var/lib/dpkg/{info,updates,triggers}}
for folder in bin sbin lib lib64; do ln -s "usr/$folder" "$there/$folder"; done
touch "$there/dev/null"  # a file will do for what scripts write there
mapfile -t dependencies < <(printf '%s\n' "${!taken[@]}" | sort)
for package in "${dependencies[@]}"; do
  dpkg-query --status "$package" >"$work/stanza" 2>/dev/null || continue
  { cat "$work/stanza" && echo; } >>"$there/var/lib/dpkg/status"
  for list in /var/lib/dpkg/info/"$package"{,:"$architecture"}.{list,md5sums}; do
    if [[ -f $list ]]; then cp "$list" "$there/var/lib/dpkg/info"; fi
  done
  dpkg-query --listfiles "$package"
done | grep -v -e '^/usr/share/\(doc\|man\|locale\)/' -e '^/\.$' -e '^diverted by' |
  while read -r file; do if [[ -f $file || -L $file ]]; then printf '%s\n' "$file"; fi; done |
  tar --create --directory=/ --no-recursion --files-from=- --file=- 2>"$work/tar" |
  tar --extract --directory="$there" --keep-directory-symlink --no-same-owner --file=-
# Of packages that can replace each other one is there, and the link to its library in no package.
for choice in /etc/alternatives/*.so.*; do
  update-alternatives --query "${choice##*/}" >"$work/choice" 2>/dev/null || continue
  while read -r library_there; do
    if [[ -e $there$library_there ]]; then
      ln -sf "$library_there" "$there$(sed -n 's/^Link: //p' "$work/choice")"
    fi
  done < <(sed -n 's/^Alternative: //p' "$work/choice")
done

# The stack's packages, each one of its libraries.
for name in qo_log qo_nvm qo_vexb_parser; do
  stack=$work/stack/lib${name//_/-}
  mkdir -p "$stack/DEBIAN" "$stack/usr/lib/$triplet"
  cp "$standins/lib$name.so" "$stack/usr/lib/$triplet"
  printf '%s\n' "Package: lib${name//_/-}" 'Version: 1' "Architecture: $architecture" \
    'Maintainer: nobody' 'Multi-Arch: same' 'Description: stand-in' >"$stack/DEBIAN/control"
  quietly dpkg-deb --root-owner-group --build "$stack" "$stack.deb"
done

# Without the stack the library stays unconfigured, and dpkg says what is missing.
if dpkg_there --install "${ours[@]}" >"$work/log" 2>&1; then fail 'the library does without the stack'; fi
for name in libqo-log libqo-nvm libqo-vexb-parser; do
  grep -q "depends on $name;" "$work/log" || fail "$name is not missed: $(cat "$work/log")"
done
[[ $(state_of qo-cmc) == "installed $version-"* ]] ||
  fail "the inspector wants more than its Depends: $(cat "$work/log")"
quietly dpkg_there --install "$work"/stack/*.deb
quietly dpkg_there --configure --pending
[[ -z $(dpkg_there --audit) ]] || fail "dpkg complains: $(dpkg_there --audit)"
for package in "${ours[@]}"; do
  name=$(dpkg-deb --field "$package" Package)
  [[ $(state_of "$name") == "installed $version-"* ]] || fail "$name is: $(state_of "$name")"
done
quietly dpkg_there --verify libqo-cmc-parser libqo-cmc-parser-dev qo-cmc python3-qo-cmc

# The inspector writes the sample, and finds in it what it finds here.
[[ $(in_root qo-cmc --version) == *"$version"* ]] || fail "qo-cmc is: $(in_root qo-cmc --version)"
quietly in_root qo-cmc sample /tmp/sample
quietly in_root qo-cmc records /tmp/sample/sample.vexb
grep -q "extended_grid  *101  superseded" "$work/log" || fail "the sample holds: $(cat "$work/log")"
quietly in_root qo-cmc shading /tmp/sample/sample.vexb --nvm /tmp/sample/sample.nvm -o /tmp/shading.html
[[ -s $there/tmp/shading.html ]] || fail 'no lens shading is drawn'

# A client that knows the installed development files only.
export PKG_CONFIG_SYSROOT_DIR=$there PKG_CONFIG_LIBDIR=$there/usr/lib/$triplet/pkgconfig
[[ $(pkg-config --modversion qo_cmc_parser) == "$version" ]] || fail 'pkg-config tells another version'
# /usr/include and the library's folder are the compiler's own once it is installed for real.
PKG_CONFIG_ALLOW_SYSTEM_CFLAGS=1 PKG_CONFIG_ALLOW_SYSTEM_LIBS=1 \
  pkg-config --cflags --libs qo_cmc_parser >"$work/flags"
read -ra flags <"$work/flags"
quietly "$cc" -std=c11 "$there/usr/share/doc/libqo-cmc-parser-dev/examples/parse_container.c" \
  "${flags[@]}" "-Wl,-rpath-link,$there/usr/lib/$triplet" -o "$there/tmp/client"
quietly in_root /tmp/client /tmp/sample/sample.vexb
grep -q '^lens shading: [1-9]' "$work/log" || fail "the client says: $(cat "$work/log")"

# The Python package does what its users do, and was compiled for all of them.
cat >"$there/tmp/use.py" <<'END'
import qo_cmc

cmc = qo_cmc.parse("/tmp/sample/sample.vexb", nvm="/tmp/sample/sample.nvm")
table = cmc.lens_shading.lights[0].tables[(0, 0)]
print(qo_cmc.__version__, cmc.merged, qo_cmc.resize_2d_array_uint16(table, (13, 17)).shape)
END
quietly in_root python3 -W error /tmp/use.py
[[ $(cat "$work/log") == "$version True (13, 17)" ]] || fail "in Python: $(cat "$work/log")"
modules=$there/usr/lib/python3/dist-packages/qo_cmc
for source in "$modules"/*.py; do
  compiled=("$modules/__pycache__/$(basename "$source" .py)".*.pyc)
  [[ -f ${compiled[0]} ]] || fail "$source is not compiled"
done
if [[ -e $modules/fleet || -e $modules/fleet.py ]]; then
  quietly in_root python3 -W error -m qo_cmc.fleet --help
fi

# The C library that is asked for by hand is the one that is needed.
asked=$(dpkg-deb --field "$library" Depends | sed -n 's/.*libc6 (>= \([0-9.]*\)).*/\1/p')
needed=$(objdump --dynamic-syms "$there/usr/lib/$triplet/libqo_cmc_parser.so" |
  grep -o 'GLIBC_[0-9.]*' | sed 's/.*_//' | sort --version-sort | tail -n 1)
dpkg --compare-versions "$needed" le "$asked" || fail "libc6 $needed is needed, $asked asked for"

# has_symbols_of FILE SOURCE: debuggers find FILE's symbols by the build's number, with the name of a
# source that matches SOURCE, and no folder of this machine in them.
has_symbols_of() {
  local number debug
  number=$(readelf --notes "$1" | sed -n 's/.*Build ID: //p')
  debug=$there/usr/lib/debug/.build-id/${number:0:2}/${number:2}.debug
  ! readelf --sections --wide "$1" | grep -e debug_info -e '\.symtab' || fail "$1 holds symbols"
  readelf --sections --wide "$debug" | grep '\.symtab' >/dev/null || fail "$1: the symbols are missing"
  # Compressed strings would be found by nobody.
  objcopy --decompress-debug-sections "$debug" "$work/debug"
  grep -q "$2" "$work/debug" || fail "$1: no source is named"
  ! grep -qF "$root" "$work/debug" || fail "the symbols of $1 name $root"
}
has_symbols_of "$there/usr/lib/$triplet/libqo_cmc_parser.so" 'cmc_parser/parser\.cpp\|cmc_parser/container'
has_symbols_of "$(echo "$modules"/_parsing.*.so)" 'python/binding/parsing_module\.cpp'
has_symbols_of "$(echo "$modules"/_toolkit.*.so)" 'python/binding/toolkit_module\.cpp'

# Gone without a trace.
quietly dpkg_there --purge libqo-cmc-parser libqo-cmc-parser-dbg libqo-cmc-parser-dev \
  qo-cmc qo-cmc-dbg python3-qo-cmc python3-qo-cmc-dbg
left=$(find "$there" -path "$there/tmp" -prune -o -name '*qo[-_]cmc*' -print)
[[ -z $left ]] || fail "left after removal: $left"
