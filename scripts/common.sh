# SPDX-License-Identifier: Apache-2.0
# What every script here begins with: strict bash, the project's folder, a way to speak and to stop.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

readonly program="${0##*/}"

say() { printf '%s: %s\n' "$program" "$*"; }

die() {
  printf '%s: %s\n' "$program" "$*" >&2
  exit 1
}
