// How a report looks: on a screen of any width, light or dark, and on paper.
#ifndef QUORV_TOOLS_QUORV_REPORTSTYLE_H
#define QUORV_TOOLS_QUORV_REPORTSTYLE_H

#include <string_view>

namespace quorv::tool {

inline constexpr std::string_view kReportStyle = R"(
:root { color-scheme: light dark; --page: #f6f7f9; --card: #fff; --text: #1b2430; --faint: #5d6b7c; --line: #dfe4ea;
  --video: #4574b8; --keyframe: #e09b2d; --sound: #3b9a80; --damage: #cf2f3c; --remark: #a86f00; --good: #1f8556; }
@media screen and (prefers-color-scheme: dark) { :root { --page: #11161d; --card: #1a212b; --text: #e4e9ef; --faint: #97a4b4;
  --line: #2e3846; --video: #6c9ce3; --keyframe: #efb14e; --sound: #55bb9e; --damage: #ff5f68; --remark: #e3ad4b;
  --good: #4cc38c; } }
* { box-sizing: border-box; }
body { margin: 0; background: var(--page); color: var(--text); font: 15px/1.5 system-ui, "Segoe UI", "DejaVu Sans", sans-serif; }
main { max-width: 70rem; margin: 0 auto; padding: 1.5rem 1rem 3rem; display: grid; gap: 1rem; grid-template-columns: minmax(0, 1fr); }
header { padding: .5rem 0 .25rem; }
h1 { font-size: 1.6rem; line-height: 1.25; margin: 0 0 .6rem; overflow-wrap: anywhere; }
h2 { font-size: 1.05rem; margin: 0; overflow-wrap: anywhere; }
h3 { font-size: .95rem; margin: 0 0 .4rem; overflow-wrap: anywhere; }
p { margin: .15rem 0 .7rem; color: var(--faint); }
section { background: var(--card); border: 1px solid var(--line); border-radius: 10px; padding: 1rem 1.1rem; }
.summary { display: flex; flex-wrap: wrap; gap: .5rem 1.6rem; align-items: center; margin: 0; color: var(--text); }
.summary span b { font-weight: 600; }
.summary span { color: var(--faint); } .summary span b { color: var(--text); }
.verdict { font-weight: 600; padding: .15rem .8rem; border-radius: 1rem; border: 1.5px solid; }
.summary .sound-file { color: var(--good); } .summary .remarks { color: var(--remark); } .summary .damaged { color: var(--damage); }
.tracks { display: grid; gap: .8rem 2rem; grid-template-columns: repeat(auto-fill, minmax(min(18rem, 100%), 1fr)); margin-top: .7rem; }
dl { display: grid; grid-template-columns: minmax(7rem, auto) minmax(0, 1fr); gap: .1rem .9rem; margin: 0; font-size: .9rem; }
dt { color: var(--faint); } dd { margin: 0; overflow-wrap: anywhere; font-variant-numeric: tabular-nums; }
.scroll { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; font-size: .9rem; margin-top: .5rem; }
th { text-align: left; font-weight: 500; color: var(--faint); }
th, td { padding: .3rem .8rem .3rem 0; border-bottom: 1px solid var(--line); vertical-align: top; }
tr:last-child td { border-bottom: 0; }
td.number, th.number { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
td.damage { color: var(--damage); font-weight: 600; } td.remark { color: var(--remark); }
td:last-child { overflow-wrap: anywhere; min-width: 12rem; }
.key { white-space: nowrap; margin-right: .9rem; }
.key i { display: inline-block; width: .7rem; height: .7rem; border-radius: 2px; margin-right: .35rem; }
i.video { background: var(--video); } i.keyframe { background: var(--keyframe); } i.sound { background: var(--sound); }
i.damage { background: var(--damage); }
.plot { display: grid; grid-template: auto 1.5rem / 5.6rem minmax(0, 1fr); gap: 0 .6rem; }
.plot svg { width: 100%; height: 11rem; display: block; }
.plot.strip { grid-template-columns: minmax(0, 1fr); } .plot.strip .y { display: none; } .plot.strip .x { grid-column: 1; }
.plot.strip svg { height: 2.6rem; background: var(--page); border-radius: 4px; }
.y { display: flex; flex-direction: column; justify-content: space-between; text-align: right; font-size: .78rem;
  line-height: 1; color: var(--faint); margin: -.39rem 0; white-space: nowrap; font-variant-numeric: tabular-nums; }
.x { grid-column: 2; position: relative; font-size: .78rem; color: var(--faint); font-variant-numeric: tabular-nums; }
.x span { position: absolute; top: .3rem; transform: translateX(-50%); white-space: nowrap; }
.x span:first-child { transform: none; } .x span:last-child { transform: translateX(-100%); }
path { vector-effect: non-scaling-stroke; }
.grid { stroke: var(--line); stroke-width: 1; fill: none; }
path.video { fill: var(--video); } path.sound { fill: var(--sound); } path.keyframe { fill: var(--keyframe); stroke: none; }
.strip path.keyframe { stroke: var(--keyframe); stroke-width: 1.5; }
path.link { stroke: var(--video); stroke-width: 1.25; opacity: .75; } path.link:hover { stroke-width: 3; opacity: 1; }
path.damage { stroke: var(--damage); stroke-width: 2.5; }
g:hover path { opacity: .7; }
footer { color: var(--faint); font-size: .85rem; }
@media (max-width: 40rem) { main { padding: 1rem .6rem 2rem; gap: .7rem; } section { padding: .8rem .75rem; }
  h1 { font-size: 1.25rem; } .plot { grid-template-columns: 4.6rem minmax(0, 1fr); gap: 0 .4rem; } .plot svg { height: 8.5rem; }
  .x span:nth-child(even) { display: none; } table, thead, tbody { display: block; } th:last-child { display: none; }
  tr { display: grid; grid-template-columns: 5rem 1fr 1fr 3rem; } th, td { border-bottom: 0; }
  td:last-child { grid-column: 1 / -1; border-bottom: 1px solid var(--line); min-width: 0; padding-top: 0; } }
@media print { :root { --page: #fff; --card: #fff; } @page { margin: 14mm; } body { font-size: 10pt; }
  main { padding: 0; max-width: none; gap: .6rem; display: block; } section { break-inside: avoid; margin-bottom: .6rem; }
  section.long { break-inside: auto; } tr { break-inside: avoid; }
  .plot svg { height: 8rem; } * { print-color-adjust: exact; -webkit-print-color-adjust: exact; } }
)";

}  // namespace quorv::tool

#endif
