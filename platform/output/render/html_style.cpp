#include "platform/output/render/html_style.h"

#include <algorithm>
#include <cmath>

namespace codebook::output {
namespace {

constexpr int kBarSteps = 50;

constexpr const char* kStyle =
    ":root{color-scheme:light dark;--fg:#222;--muted:#555;--line:#bbb;--head:#eee;--group:#f6f6f6;"
    "--bar:#c9dcf2;--bar-m:#f2dcb8;--warn:#8a5a00;--err:#b00020;--chart:#3b6ea5}\n"
    "@media (prefers-color-scheme:dark){:root{--fg:#ddd;--muted:#aaa;--line:#555;--head:#2a2a2a;"
    "--group:#202020;--bar:#27456a;--bar-m:#5e4320;--warn:#e0b050;--err:#ff7080;--chart:#79a7dc}"
    "body{background:#161616}a{color:#8ab4f8}}\n"
    "body{font-family:system-ui,sans-serif;margin:1.5em;color:var(--fg);line-height:1.35}\n"
    "h1,h2,h3,caption,dd,li,p{overflow-wrap:anywhere}\n"
    "header p.made{color:var(--muted);margin-top:-.5em}\n"
    "section.file p.label{font-size:1.15em;font-weight:bold;margin:.3em 0}\n"
    "dl.facts{display:grid;grid-template-columns:max-content 1fr;gap:.1em 1em;margin:.5em 0}"
    "dl.facts dt{color:var(--muted)}dl.facts dd{margin:0}\n"
    "pre.documents{white-space:pre-wrap;overflow-wrap:anywhere;font:inherit;background:var(--group);"
    "border-left:3px solid var(--line);padding:.4em .8em;margin:.5em 0}\n"
    "p.weighting code{font-weight:bold}\n"
    "table.pivot{border-collapse:collapse;margin:0 0 1.5em 0;max-width:100%}\n"
    ".pivot caption{text-align:left;font-weight:bold;padding:0 0 .4em 0}\n"
    ".pivot th,.pivot td{border:1px solid var(--line);padding:.2em .6em;vertical-align:top;text-align:left;"
    "white-space:pre-wrap;overflow-wrap:break-word}\n"
    ".pivot thead th{background:var(--head)}\n"
    ".pivot tbody th{font-weight:normal;padding-left:1.6em}\n"
    ".pivot tbody th[scope=rowgroup]{font-weight:bold;background:var(--group);padding-left:.6em}\n"
    ".pivot .d0{padding-left:.6em}.pivot .d2{padding-left:2.6em}.pivot .d3{padding-left:3.6em}"
    ".pivot .d4{padding-left:4.6em}.pivot .d5{padding-left:5.6em}.pivot .d6{padding-left:6.6em}"
    ".pivot .d7{padding-left:7.6em}.pivot .d8{padding-left:8.6em}\n"
    ".pivot .n{text-align:right;font-variant-numeric:tabular-nums;white-space:nowrap}\n"
    ".pivot td.b{background:linear-gradient(90deg,var(--bar) var(--w),transparent var(--w))}"
    ".pivot tbody.m td.b{--bar:var(--bar-m)}\n"
    ".pivot ul.alerts{margin:.2em 0 0;padding-left:1.4em;color:var(--warn);font-weight:normal}"
    ".pivot ul.alerts li::marker{content:\"\\26A0  \"}\n"
    "div.wide{overflow-x:auto;max-width:100%;margin:0 0 1.5em 0}div.wide table.pivot{margin:0}\n"
    // The overview scrolls sideways in its box rather than squeeze its
    // labels into a column of single words.
    "table.overview{max-width:none}.pivot.overview th,.pivot.overview td{padding:.2em .4em}"
    ".overview td:nth-child(3){min-width:10em}\n"
    // A long overview's parts: the same widths in each, the label's column
    // the rest; the parts off the screen are not laid out.
    "table.overview.fixed{table-layout:fixed;width:100%;min-width:80em}"
    ".overview.fixed thead td{width:9em}"
    ".overview th.position{width:5em}.overview th.type{width:8em}.overview th.level{width:5em}"
    ".overview th.missing-values{width:6em}.overview th.valid,.overview th.missing{width:4.5em}"
    ".overview th.distinct-values{width:5em}.overview th.minimum,.overview th.maximum{width:6.5em}"
    "div.part{content-visibility:auto;contain-intrinsic-size:auto 480em}\n"
    "section.alerts table{border-collapse:collapse;margin:0 0 1.5em 0;max-width:100%}"
    "section.alerts th,section.alerts td{border:1px solid var(--line);padding:.2em .6em;text-align:left;"
    "vertical-align:top;overflow-wrap:break-word}\n"
    // A table wider than the screen (a word longer than a column can
    // hold) scrolls in its own section rather than the page.
    "div.group{content-visibility:auto;contain-intrinsic-size:auto 960em}"
    "div.group>section{overflow-x:auto;overflow-y:hidden}\n"
    "nav.contents ol{columns:2 22em;padding-left:4em}nav.contents li{break-inside:avoid}\n"
    "nav.contents .label{color:var(--muted)}nav.contents .level{color:var(--muted);font-size:.9em}\n"
    "a.top{position:fixed;right:.8em;bottom:.8em;background:var(--head);color:inherit;border:1px solid var(--line);"
    "border-radius:1em;padding:.2em .8em;text-decoration:none;font-size:.9em}\n"
    "svg.chart{display:block;max-width:100%;height:auto;margin:0 0 1.5em 0}\n"
    "svg.chart text{font:12px system-ui,sans-serif;fill:currentColor}\n"
    "svg.chart .bar{fill:var(--chart)}svg.chart .q{stroke:currentColor;stroke-dasharray:4 3;fill:none}\n"
    "p.warning{color:var(--warn)}p.error{color:var(--err)}p.note{color:var(--muted)}\n"
    // Narrow screens: less room around the texts, so that a variable's
    // table fits a phone's width.
    "@media (max-width:40em){body{margin:.6em}table.pivot{font-size:.9em}.pivot th,.pivot td{padding:.15em .3em}"
    ".pivot tbody th{padding-left:1em}.pivot tbody th[scope=rowgroup]{padding-left:.3em}}\n"
    // Print: the items in two columns, as many to a page as fit, a table
    // broken only between rows; the file's part and the overview across
    // the page, the overview fitted to its width.
    "@media print{body{margin:0;font-size:8.5pt}a.top{display:none}"
    "div.group,div.part{content-visibility:visible}div.group>section,div.wide{overflow:visible}"
    "main{columns:2;column-gap:1.5em}main>section.file,main>section.overview,main>h2,main>p{column-span:all}"
    "div.group>section{break-inside:avoid}"
    "table.overview,table.overview.fixed{table-layout:auto;min-width:0;width:100%}"
    ".overview td:nth-child(3){min-width:0}"
    ".pivot tr,svg.chart,dl.facts{break-inside:avoid}.pivot caption{break-after:avoid}"
    ".pivot td.b{print-color-adjust:exact;-webkit-print-color-adjust:exact}"
    "svg.chart{max-width:100%}nav.contents ol{padding-left:4.5em}}\n";

}  // namespace

void AppendHtmlStyle(std::string& out) {
  out += kStyle;
  // The bars' lengths: one class per step instead of a style on every cell.
  for (int step = 0; step <= kBarSteps; ++step) {
    out += ".w" + std::to_string(step) + "{--w:" + std::to_string(step * 100 / kBarSteps) + "%}";
  }
  out += "\n";
}

std::string BarClass(double share) {
  if (!(share > 0)) return "w0";
  const int step = std::clamp(static_cast<int>(std::lround(share * kBarSteps)), 0, kBarSteps);
  return "w" + std::to_string(step);
}

}  // namespace codebook::output
