#include <tool/report/html.h>

namespace tool {

std::string escapeHtml(std::string_view words)
{
    std::string safe;
    for (char const c : words) {
        switch (c) {
        case '&':
            safe += "&amp;";
            break;
        case '<':
            safe += "&lt;";
            break;
        case '>':
            safe += "&gt;";
            break;
        case '"':
            safe += "&quot;";
            break;
        default:
            safe += c;
        }
    }
    return safe;
}

std::string base64(std::string_view bytes)
{
    static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::size_t const present = bytes.size() - i < 3 ? bytes.size() - i : 3;
        unsigned group = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            group = group << 8 | (k < present ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        }
        for (std::size_t k = 0; k < 4; ++k) text += k <= present ? kDigits[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

char const* const kPageStyle = R"css(
:root { color-scheme: light dark; --page: #f4f2ed; --card: #ffffff; --ink: #22262b; --faint: #666d75; --rule: #e3e0d8;
  --accent: #b8384b; --good: #14795a; }
@media (prefers-color-scheme: dark) { :root { --page: #15171a; --card: #1f2226; --ink: #e8e6e1; --faint: #a2a8af;
  --rule: #33373c; --accent: #ff8292; --good: #5fd3a8; } }
* { box-sizing: border-box; }
html { scroll-behavior: smooth; -webkit-text-size-adjust: 100%; }
body { margin: 0; background: var(--page); color: var(--ink);
  font: 1.0625rem/1.6 system-ui, -apple-system, "Segoe UI", Roboto, "Noto Sans", sans-serif; }
main, header, footer { max-width: 76rem; margin: 0 auto; padding: 0 clamp(1rem, 4vw, 2.5rem); }
header { padding-top: clamp(2rem, 6vw, 4.5rem); }
h1 { font-size: clamp(2.2rem, 7vw, 3.6rem); line-height: 1.1; margin: 0; letter-spacing: -0.03em; }
h2 { font-size: clamp(1.4rem, 4vw, 1.9rem); line-height: 1.25; letter-spacing: -0.015em; margin: 0 0 0.6rem; }
h3 { font-size: 1rem; margin: 1.8rem 0 0.4rem; }
header p { color: var(--faint); font-size: 1.15rem; max-width: 44rem; margin: 0.8rem 0 0; }
p { max-width: 46rem; margin: 0.6rem 0; }
nav { display: flex; flex-wrap: wrap; gap: 0.5rem; margin: 1.6rem 0 0; }
nav a { color: inherit; text-decoration: none; border: 1px solid var(--rule); border-radius: 2rem;
  padding: 0.2rem 0.9rem; font-size: 0.92rem; background: var(--card); }
nav a:hover, nav a:focus-visible { border-color: var(--accent); color: var(--accent); }
section { padding: clamp(2rem, 5vw, 3.5rem) 0; border-bottom: 1px solid var(--rule); scroll-margin-top: 1rem; }
.pictures { display: grid; grid-template-columns: repeat(6, minmax(0, 1fr)); gap: 1.2rem; margin: 1.4rem 0; }
figure { margin: 0; background: var(--card); border: 1px solid var(--rule); border-radius: 0.8rem; overflow: hidden; }
figure.full { grid-column: span 6; } figure.half { grid-column: span 3; } figure.third { grid-column: span 2; }
@media (max-width: 46rem) { figure.full, figure.half, figure.third { grid-column: span 6; } }
figure img { display: block; width: 100%; height: auto; }
figcaption { padding: 0.8rem 1rem 0.95rem; font-size: 0.95rem; line-height: 1.5; color: var(--faint); }
.scroll { overflow-x: auto; }
table { border-collapse: collapse; min-width: min(100%, 26rem); font-size: 0.95rem; font-variant-numeric: tabular-nums; }
th, td { text-align: left; padding: 0.4rem 1.6rem 0.4rem 0; border-bottom: 1px solid var(--rule); vertical-align: top; }
th { font-weight: 600; color: var(--faint); } td + td { text-align: right; } th + th { text-align: right; }
ul.checks, ul.files { list-style: none; padding: 0; margin: 1.2rem 0; }
ul.checks li { padding: 0.25rem 0 0.25rem 1.7rem; position: relative; }
ul.checks li::before { position: absolute; left: 0; content: "\2713"; color: var(--good); font-weight: 700; }
ul.checks li.failed::before { content: "\2717"; color: var(--accent); }
ul.checks li.failed { color: var(--accent); }
.detail { color: var(--faint); font-size: 0.92rem; }
a { color: var(--accent); }
footer { color: var(--faint); font-size: 0.92rem; padding-top: 2rem; padding-bottom: 3rem; }
)css";

} // namespace tool
