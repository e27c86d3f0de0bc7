#!/usr/bin/env bash
# Writes the manual page of the tintara host from its own help texts, so the page never says
# other than the program: the top-level help and version through help2man, and one section per
# command from 'tintara COMMAND --help'.
#   scripts/make-man.sh [TINTARA_EXE] [OUT.1]   (defaults: build/tools/tintara, build/tintara.1)
# Needs help2man (Debian package help2man); the build does not.
set -euo pipefail
exe=${1:-build/tools/tintara}
out=${2:-build/tintara.1}
command -v help2man >/dev/null || { echo "make-man.sh: help2man is missing (apt-get install help2man)" >&2; exit 1; }
[ -x "$exe" ] || { echo "make-man.sh: no executable at $exe (build first)" >&2; exit 1; }

include=$(mktemp)
trap 'rm -f "$include"' EXIT
{
  # help2man reads [SECTION] blocks of roff; each command's help is set as it prints.
  echo "[COMMANDS]"
  for command in info convert link apply testimage calibrate chart; do
    echo ".SS \"tintara $command\""
    echo ".nf"
    "$exe" "$command" --help | sed -e 's/\\/\\e/g' -e 's/^\./\\\&./' -e "s/^'/\\\\\\&'/"
    echo ".fi"
  done
  echo "[EXIT STATUS]"
  echo "0 done; 1 failed, with one line on standard error naming the file and the reason (for"
  echo "\\fBinfo\\fR also a profile with invalid tags or a damaged link file); 2 a mistake on the"
  echo "command line."
} > "$include"
help2man --no-info --no-discard-stderr --name "colour conversion through ICC profiles and device links" \
  --section 1 --include "$include" --output "$out" "$exe"
echo "wrote $out"
