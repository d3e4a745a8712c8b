// The page's style sheet: one column on a phone, rows of figures on a desk, plain black on paper.
#pragma once

namespace tour {

inline constexpr char kPageStyle[] = R"css(
:root {
  color-scheme: light dark;
  --ground: #faf9f6; --raised: #fff; --ink: #21201d; --soft: #67635b; --line: #e2ded5; --accent: #25606b;
  --sans: system-ui, -apple-system, "Segoe UI", Roboto, "Helvetica Neue", "Noto Sans", sans-serif;
  --serif: ui-serif, "Iowan Old Style", Palatino, "Palatino Linotype", "Noto Serif", "DejaVu Serif", Georgia, serif;
  --mono: ui-monospace, "SF Mono", Menlo, Consolas, "DejaVu Sans Mono", monospace;
}
@media (prefers-color-scheme: dark) {
  :root {
    --ground: #161715; --raised: #1f201e; --ink: #e9e6df; --soft: #a29e94; --line: #33342f; --accent: #8cc5cc;
  }
}
* { box-sizing: border-box; }
html { -webkit-text-size-adjust: 100%; scroll-behavior: smooth; }
body { margin: 0; background: var(--ground); color: var(--ink); font: 1.0625rem/1.6 var(--sans); }
main, header, footer { max-width: 78rem; margin: 0 auto; padding: 0 clamp(1.125rem, 4vw, 3rem); }
h1, h2, h3 { font-family: var(--serif); font-weight: 500; line-height: 1.2; text-wrap: balance; }
h1 { font-size: clamp(2rem, 1.4rem + 2.6vw, 3.1rem); margin: 0 0 .6rem; letter-spacing: -.01em; }
h2 { font-size: clamp(1.5rem, 1.2rem + 1.2vw, 2rem); margin: 0; }
h3 { font-size: 1.3rem; margin: 0 0 .6rem; }
p { margin: 0 0 1rem; max-width: 44rem; }
a { color: var(--accent); text-decoration-thickness: 1px; text-underline-offset: .2em; }
code { font: .86em/1.5 var(--mono); overflow-wrap: anywhere; }
dl, dd { margin: 0; }

header { padding-top: clamp(2.5rem, 7vw, 5rem); }
header > p { color: var(--soft); font-size: 1.125rem; }
.about { display: grid; grid-template-columns: max-content 1fr; gap: .35rem 1.5rem; margin: 1.75rem 0 0; }
.about dt { color: var(--soft); }
.about dd { overflow-wrap: anywhere; font-variant-numeric: tabular-nums; }

nav { margin: clamp(2rem, 5vw, 3rem) 0 0; padding: 1.5rem 0; border-block: 1px solid var(--line); }
nav > div { columns: 19rem; column-gap: 3rem; }
nav section { break-inside: avoid; margin-bottom: 1rem; }
nav h2 { font: 600 .82rem/1.5 var(--sans); color: var(--soft); margin-bottom: .35rem; }
nav ul { list-style: none; margin: 0; padding: 0; }
nav li { padding: .15rem 0; }
nav a { text-decoration: none; }
nav a:hover { text-decoration: underline; }

.subsystem { margin-top: clamp(3rem, 8vw, 5rem); }
.subsystem > h2 { padding-bottom: .75rem; border-bottom: 1px solid var(--line); }
.panel { margin-top: clamp(2rem, 5vw, 3rem); scroll-margin-top: 1.5rem; }
.operations { list-style: none; margin: 0 0 1.25rem; padding: 0; display: flex; flex-wrap: wrap; gap: .4rem; }
.operations code { display: block; padding: .1rem .55rem; border-radius: .35rem; background: var(--raised);
                   border: 1px solid var(--line); }
.facts { display: flex; flex-wrap: wrap; gap: .25rem 2rem; margin-bottom: 1.25rem; font-size: .94rem; }
.facts div { display: flex; flex-wrap: wrap; gap: 0 .5rem; }
.facts dt { color: var(--soft); }
.facts dd { font-variant-numeric: tabular-nums; }
.facts .time dd { font-weight: 600; }

.figures { display: grid; gap: 1.75rem 1.25rem; grid-template-columns: minmax(0, 1fr); }
@media (min-width: 36rem) { .figures { grid-template-columns: repeat(2, minmax(0, 1fr)); } }
@media (min-width: 48rem) { .threes { grid-template-columns: repeat(3, minmax(0, 1fr)); } }
@media screen and (min-width: 62rem) {
  .panel { display: grid; grid-template-columns: 18rem minmax(0, 1fr); gap: 0 3rem; }
  .words { position: sticky; top: 1.5rem; align-self: start; }
  .words .facts { display: block; }
  .words .facts div { padding: .3rem 0; border-top: 1px solid var(--line); justify-content: space-between; }
}
figure { margin: 0; }
figure img, figure svg { display: block; width: 100%; height: auto; border-radius: .3rem;
                         outline: 1px solid rgb(128 128 128 / .25); outline-offset: -1px; }
.small { image-rendering: pixelated; }
figcaption { margin-top: .55rem; font-size: .92rem; line-height: 1.45; }
.legend { margin-top: .7rem; font-size: .82rem; color: var(--soft); font-variant-numeric: tabular-nums; }
.legend i { display: block; height: .55rem; border-radius: .15rem; print-color-adjust: exact;
            -webkit-print-color-adjust: exact; }
.legend div { display: flex; justify-content: space-between; }

.table { margin-top: 1.5rem; overflow-x: auto; }
table { border-collapse: collapse; font-size: .92rem; font-variant-numeric: tabular-nums; }
th, td { padding: .3rem 1.1rem .3rem 0; border-bottom: 1px solid var(--line); text-align: right; }
th { color: var(--soft); font-weight: 500; vertical-align: bottom; }
th:first-child, td:first-child { text-align: left; }

details { margin-top: 1.25rem; border-top: 1px solid var(--line); }
details + details { margin-top: 0; }
details:last-child { border-bottom: 1px solid var(--line); }
details[open] { padding-bottom: 1.5rem; }
summary { cursor: pointer; padding: .6rem 0; color: var(--accent); font-size: .94rem; }
details[open] > summary { margin-bottom: .5rem; }
.carried { position: absolute; width: 0; height: 0; overflow: hidden; }
footer { margin-top: clamp(3rem, 8vw, 5rem); padding-block: 1.5rem 3rem; color: var(--soft); font-size: .92rem; }

@media print {
  @page { margin: 16mm 14mm; }
  :root { color-scheme: light; --ground: #fff; --raised: #fff; --ink: #000; --soft: #444; --line: #bbb;
          --accent: #000; }
  html { font-size: 9pt; }
  body { font-size: 1rem; }
  details:not([open]) { display: none; }
  p { max-width: none; }
  main, header, footer { max-width: none; padding-inline: 0; }
  header { padding-top: 0; }
  h1 { font-size: 24pt; }
  h2 { font-size: 15pt; break-after: avoid; }
  h3 { font-size: 12pt; break-after: avoid; }
  nav a { text-decoration: none; }
  .subsystem { margin-top: 12mm; }
  .panel { margin-top: 7mm; break-inside: avoid; }
  .figures { grid-template-columns: repeat(4, minmax(0, 1fr)); gap: 4mm; }
  .threes { grid-template-columns: repeat(3, minmax(0, 1fr)); }
  figure { break-inside: avoid; }
}
)css";

}  // namespace tour
