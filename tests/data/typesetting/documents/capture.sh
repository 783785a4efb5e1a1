#!/usr/bin/env bash
# Regenerates the captured engine output of every folder here: each folder's main.tex is typeset in
# a temporary copy with the arguments Plumeo passes, and standard output is saved as output.txt.
# Folders with a .bib file also get bibtex.txt, BibTeX's output after the first run.
# classic-messages is run without -file-line-error, so its errors keep the "! ..." form;
# interactive-prompt is also run without nonstopmode and with no input, so TeX stops at its "?" prompt.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
texbin=${TEXBIN:-/usr/texbin}
for folder in "$here"/*/; do
  name=$(basename "$folder")
  work=$(mktemp -d)
  cp -R "$folder". "$work"
  engine=pdflatex
  if head -n 1 "$folder/main.tex" | grep -q '^%!TEX TS-program *= *xelatex'; then engine=xelatex; fi
  arguments=(-file-line-error -synctex=1 --interaction nonstopmode --shell-escape main)
  if [ "$name" = classic-messages ]; then arguments=(-synctex=1 --interaction nonstopmode --shell-escape main); fi
  if [ "$name" = interactive-prompt ]; then arguments=(-synctex=1 main); fi
  (cd "$work" && env -i TEXMFHOME="$HOME/Library/texmf" "$texbin/$engine" "${arguments[@]}" < /dev/null > "$folder/output.txt" 2>&1 || true)
  if ls "$folder"/*.bib > /dev/null 2>&1; then
    (cd "$work" && env -i TEXMFHOME="$HOME/Library/texmf" "$texbin/bibtex" main > "$folder/bibtex.txt" 2>&1 || true)
  fi
  rm -rf "$work"
done
