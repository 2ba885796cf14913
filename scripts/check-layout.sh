#!/usr/bin/env bash
# Checks the layout rules anyone can break without a compiler noticing:
#  - the host headers (backend/codebook/host/) declare operations only: they
#    include no platform header and say nothing of threads, prefetching or
#    friends;
#  - every source file is named in the build (a file left out vanishes
#    without an error);
#  - no source file passes 700 lines.
# Prints one line per problem and exits 1 when there is any.
set -uo pipefail
cd "$(dirname "$0")/.."

problems=0
problem() {
  echo "check-layout: $*"
  problems=$((problems + 1))
}

# Host headers.
while IFS= read -r header; do
  if grep -nE '#include\s+"platform/' "$header" >/dev/null; then
    problem "$header includes a platform header"
  fi
  if grep -nE '\bfriend\b|__builtin_prefetch|\bprefetch|std::thread|<thread>|<mutex>|<atomic>|std::mutex|std::atomic' "$header" >/dev/null; then
    problem "$header mentions friends, prefetching or threads: $(grep -nE '\bfriend\b|__builtin_prefetch|\bprefetch|std::thread|<thread>|<mutex>|<atomic>|std::mutex|std::atomic' "$header" | head -1)"
  fi
done < <(find backend/codebook/host -name '*.h' | sort)

# Sources named in the build: each .cpp must appear, by its path relative
# to the folder of some CMakeLists.txt or .cmake file above it.
mapfile -t build_files < <(find . -path ./build -prune -o -path './build-*' -prune -o \
  \( -name CMakeLists.txt -o -name '*.cmake' \) -print)
while IFS= read -r source; do
  name=$(basename "$source")
  dir=$(dirname "$source")
  found=0
  while [[ "$dir" != "." && "$dir" != "/" ]]; do
    rel=${source#"$dir"/}
    for list in "$dir/CMakeLists.txt" "$dir"/*.cmake; do
      [[ -f "$list" ]] || continue
      if grep -qE "(^|[[:space:]/\"\}])${rel//./\\.}([[:space:])\"]|$)" "$list"; then
        found=1
        break 2
      fi
    done
    dir=$(dirname "$dir")
  done
  ((found)) || problem "$source is not in the build (${name} is named in no CMake file above it)"
done < <(find backend platform cli tests bench data testing -name '*.cpp' | sort)

# File length.
while IFS= read -r file; do
  lines=$(wc -l < "$file")
  if ((lines > 700)); then
    problem "$file has $lines lines (more than 700)"
  fi
done < <(find backend platform cli tests bench data testing scripts \( -name '*.cpp' -o -name '*.h' -o -name '*.sh' \) | sort)

((problems == 0)) || exit 1
echo "check-layout: ok"
