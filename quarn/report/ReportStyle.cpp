#include "quarn/report/ReportStyle.h"

namespace quarn {

std::string_view reportStyle() {
  return R"(
:root{color-scheme:light dark;--ink:#1c1c1f;--dim:#5c5c66;--paper:#fff;--card:#f5f5f8;--line:#dcdce2;--mark:#fff3c4;--pale:rgb(255 255 255/.72);--deep:rgb(0 0 0/.16);--accent:#1d5fc4;--safe:#17703a;--caution:#805000;--danger:#b3261e}
@media(prefers-color-scheme:dark){:root{--ink:#f1f1f4;--dim:#a9a9b4;--paper:#141417;--card:#1e1e23;--line:#35353d;--mark:#4a3d0c;--pale:rgb(0 0 0/.6);--accent:#8ab8ff;--safe:#6fd08c;--caution:#f0b64a;--danger:#ff8a80}}
*{box-sizing:border-box}
html{scroll-behavior:smooth;scroll-padding-top:1rem;-webkit-text-size-adjust:100%}
@media(prefers-reduced-motion:reduce){html{scroll-behavior:auto}}
body{margin:0;background:var(--paper);color:var(--ink);font:16px/1.55 -apple-system, system-ui, "Segoe UI", Roboto,
     "Helvetica Neue", sans-serif}
header,main,footer{max-width:68rem;margin:0 auto;padding:0 1.5rem}
header{padding-top:2.5rem}footer{padding-top:2rem;padding-bottom:3rem;color:var(--dim);font-size:.875rem}
h1{font-size:2rem;line-height:1.2;letter-spacing:-.015em;margin:0 0 .3rem;overflow-wrap:anywhere}
h2{font-size:1.35rem;letter-spacing:-.01em;margin:2.75rem 0 .6rem}h3{font-size:1.05rem;margin:2rem 0 .3rem}
p{margin:.2rem 0;max-width:46rem}code{font:.92em ui-monospace,SFMono-Regular,Menlo,Consolas,monospace}
a{color:var(--accent)}.dim{color:var(--dim)}.path{overflow-wrap:anywhere}
:focus-visible{outline:3px solid var(--accent);outline-offset:2px;border-radius:4px}
.skip{position:absolute;left:-9999px}.skip:focus{position:static}
nav ul{display:flex;flex-wrap:wrap;gap:.3rem 1.2rem;list-style:none;margin:1rem 0 0;padding:0}
.facts{display:grid;grid-template-columns:repeat(auto-fit,minmax(9.5rem,1fr));gap:.75rem;margin:1.5rem 0 0}
.facts div{background:var(--card);border:1px solid var(--line);border-radius:12px;padding:.75rem 1rem}
.facts dt{color:var(--dim);font-size:.85rem}.facts dd{margin:0;font-size:1.3rem;font-weight:650;font-variant-numeric:tabular-nums;overflow-wrap:anywhere}
.facts dd small{display:block;font-size:.8rem;font-weight:400;color:var(--dim)}
.bar{display:flex;height:2.1rem;border-radius:10px;overflow:hidden;background:var(--card);margin:.75rem 0 1rem}
.bar span{flex:0 0 auto;box-shadow:inset -1px 0 var(--paper)}.bar span:last-child{box-shadow:none}
.map{position:relative;aspect-ratio:2;list-style:none;margin:1rem 0;padding:0;border-radius:10px;overflow:hidden;background:var(--card)}
.map li{position:absolute;margin:0;left:var(--x);top:var(--y);width:var(--w);height:var(--h);container-type:size;background:var(--paper)}
.map a{position:absolute;inset:1px;padding:.4rem .55rem;border-radius:4px;color:#fff;text-decoration:none;font-size:.82rem;line-height:1.3;overflow:hidden;overflow-wrap:anywhere}
.map a:hover{filter:brightness(1.12)}.map a:focus-visible{outline-color:#fff;outline-offset:-4px}
.map a.head{bottom:auto;height:1.5rem;padding:.1rem .5rem;border-radius:4px 4px 0 0;white-space:nowrap}.map .head b{display:inline;margin-right:.6em}
.map ul{position:absolute;inset:1.5rem 1px 1px;list-style:none;margin:0;padding:0;border-radius:0 0 4px 4px;background-image:linear-gradient(var(--pale),var(--pale))}
.map ul li{background:none}.map ul a{background-image:linear-gradient(var(--deep),var(--deep))}
.map b{display:-webkit-box;-webkit-box-orient:vertical;-webkit-line-clamp:3;overflow:hidden;font-weight:650}
@container (max-height:5.4rem){.map b{-webkit-line-clamp:2}}
@container (max-height:4.2rem){.map b{-webkit-line-clamp:1}}
@container (max-width:4.6rem) or (max-height:2.9rem){.map a:not(.head)>*{display:none}}
@container (max-width:3rem) or (max-height:3.4rem){.map ul{display:none}.map a.head{bottom:1px;height:auto;border-radius:4px}}
@container (max-width:3rem) or (max-height:1.5rem){.map a.head>*{display:none}}
table{border-collapse:collapse;width:100%;font-size:.93rem}
caption{text-align:left;color:var(--dim);padding:.2rem 0 .4rem}
td,li,p{overflow-wrap:anywhere}
th,td{text-align:left;padding:.45rem 1rem .45rem 0;border-bottom:1px solid var(--line);vertical-align:top}
thead th,thead td{font-size:.82rem;color:var(--dim);font-weight:600;border-bottom-width:2px}tbody th{font-weight:600}
td:last-child,th:last-child{padding-right:0}
.n{text-align:right;white-space:nowrap;font-variant-numeric:tabular-nums;width:1%}thead th{vertical-align:bottom}td p{max-width:none}.w{width:1%;white-space:nowrap}.c{width:1%;text-align:center;padding:.45rem .5rem}
tr:target{background:var(--mark)}
.key{display:inline-block;width:.8em;height:.8em;border-radius:3px;margin-right:.55em}
.share{display:block;height:.55rem;min-width:2px;border-radius:3px;margin-top:.5rem}.meter{min-width:6rem}
.badge{display:inline-block;padding:.02rem .5rem;border-radius:99px;border:1px solid currentColor;font-size:.8rem;font-weight:600;white-space:nowrap}.wraps{white-space:normal}
.safe{color:var(--safe)}.caution{color:var(--caution)}.danger{color:var(--danger)}
details{border:1px solid var(--line);border-radius:12px;padding:.7rem 1.1rem;margin:.7rem 0;background:var(--card)}
summary{cursor:pointer;font-weight:600}details[open] summary{margin-bottom:.5rem}
ol,ul.plain{padding-left:1.3rem;margin:.4rem 0}li{margin:.25rem 0}
.note{border-left:4px solid var(--caution);background:var(--card);border-radius:0 10px 10px 0;padding:.6rem 1rem;margin:1.25rem 0 0;max-width:none}
.c0{background:#2f6fdb}.c1{background:#8a4fd0}.c2{background:#c2417c}.c3{background:#0b757b}.c4{background:#a15600}.c5{background:#3f7d20}.c6{background:#5b6470}.c7{background:#7a5c44}.c8{background:#6b7178}
.risk-safe{background:#1b7f3b}.risk-caution{background:#8a5a00}.risk-danger{background:#b3261e}
@media(max-width:40rem){body{font-size:15px}header,main,footer{padding-left:1rem;padding-right:1rem}header{padding-top:1.5rem}h1{font-size:1.6rem}.map{aspect-ratio:3/5}.map li{left:var(--y);top:var(--x);width:var(--h);height:var(--w)}.wide{display:none}table{font-size:.86rem}thead .n{white-space:normal}th,td{padding-right:.6rem}.facts dd{font-size:1.1rem}}
@media(max-width:22.5rem){header,main,footer{padding-left:.75rem;padding-right:.75rem}table{font-size:.75rem}th,td{padding-right:.35rem}.key{margin-right:.35em}}
@media print{:root{color-scheme:light;--ink:#000;--dim:#444;--paper:#fff;--card:#f5f5f8;--line:#bbb;--mark:#fff;--accent:#000;--safe:#17703a;--caution:#805000;--danger:#b3261e;--pale:rgb(255 255 255/.72)}.bar span,.map a,.map ul,.key,.share{print-color-adjust:exact;-webkit-print-color-adjust:exact}details,tr,.map,.bar,.facts div{break-inside:avoid}h2,h3,h3+p,caption{break-after:avoid}th,td{padding-top:.25rem;padding-bottom:.25rem}body{font-size:10pt}header,main,footer{max-width:none;padding-left:0;padding-right:0}nav,.skip{display:none}}
)";
}

}  // namespace quarn
