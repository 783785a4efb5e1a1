#!/usr/bin/env bash
# Fails when a folder of src/core includes a header from a folder it may not reach, so that the
# dependencies inside the core stay one way:
#   foundation <- editor <- project <- latex, typesetting <- document
# A folder missing from the table below fails too: a new folder takes its place in it first. Nothing
# in the core may include Qt Gui or Widgets.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

declare -A reaches=(
    [foundation]=""
    [editor]="foundation"
    [project]="foundation editor"
    [latex]="foundation editor project"
    [typesetting]="foundation editor project"
    [document]="foundation editor project latex typesetting"
)

shopt -s nullglob
status=0
for dir in "$root"/src/core/*/; do
    folder=$(basename "$dir")
    if [[ -z ${reaches[$folder]+set} ]]; then
        echo "src/core/$folder: a folder with no place among the layers (add it to scripts/check-layers.sh)"
        status=1
        continue
    fi
    files=("$dir"*)
    ((${#files[@]})) || continue
    while IFS= read -r hit; do
        target=${hit#*\"}
        target=${target%%\"*}
        case $target in
            core/*/*)
                layer=${target#core/}
                layer=${layer%%/*}
                [[ $layer == "$folder" || " ${reaches[$folder]} " == *" $layer "* ]] && continue
                ;;
            */*) ;;
            *) continue ;;
        esac
        echo "${hit%%:#*}: src/core/$folder may not include $target"
        status=1
    done < <(grep -Hn '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' "${files[@]}" | sed "s|^$root/||" || true)
done
# The core is headless: a plain <QImage> finds no header there, since the core links Qt Core alone,
# but a module-qualified include would still be found.
if grep -rnE '^[[:space:]]*#[[:space:]]*include[[:space:]]*<Qt(Gui|Widgets)[/>]' "$root"/src/core | sed "s|^$root/||"; then
    echo "src/core may not include Qt Gui or Widgets headers"
    status=1
fi
if ((status == 0)); then
    echo "core layers: every include goes one way, and none reaches Qt Gui"
fi
exit $status
