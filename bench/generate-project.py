#!/usr/bin/env python3
"""Writes a LaTeX project for timing: a root file including FILES chapter files, about SIZE_MB of
text in all, with parts, chapters, sections, subsections, comments, mathematics and a bibliography.

usage: generate-project.py FOLDER [FILES=200] [SIZE_MB=5]
"""
import os
import sys

if len(sys.argv) < 2 or sys.argv[1].startswith("-"):
    sys.exit(__doc__.strip())
folder = sys.argv[1]
files = int(sys.argv[2]) if len(sys.argv) > 2 else 200
size = int(float(sys.argv[3]) * 1024 * 1024) if len(sys.argv) > 3 else 5 * 1024 * 1024
per_file = size // files

os.makedirs(os.path.join(folder, "chapters"), exist_ok=True)
paragraph = ("Words about the subject go on for a while, with $x_{%d}^2 + y$ in line, "
             "a reference~\\cite{key%d} and 50\\%% of a sentence. %% a comment\n")

with open(os.path.join(folder, "main.tex"), "w") as main:
    main.write("\\documentclass{book}\n\\begin{document}\n")
    for f in range(files):
        if f % 50 == 0:
            main.write("\\part{Part %d}\n" % (f // 50))
        main.write("\\include{chapters/ch%03d}\n" % f)
    main.write("\\bibliography{refs}\n\\end{document}\n")

for f in range(files):
    with open(os.path.join(folder, "chapters", "ch%03d.tex" % f), "w") as chapter:
        written = chapter.write("\\chapter{Chapter %d}\n" % f)
        n = 0
        while written < per_file:
            if n % 40 == 0:
                written += chapter.write("\\section{Section %d.%d}\n" % (f, n // 40))
            elif n % 20 == 0:
                written += chapter.write("\\subsection{Subsection %d.%d}\n" % (f, n // 20))
            written += chapter.write(paragraph % (n, n))
            n += 1

with open(os.path.join(folder, "refs.bib"), "w") as bib:
    for k in range(500):
        bib.write("@article{key%d,\n  author = {A. Author},\n  title = {Title %d},\n  year = {2020}\n}\n\n" % (k, k))
