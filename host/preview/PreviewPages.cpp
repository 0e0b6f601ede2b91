#include "host/preview/PreviewPages.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMaximumShown = 100; ///< problems

constexpr const char *kScript = R"JS('use strict';
(() => {
  const version = document.currentScript.dataset.version;
  const address = new URL('/.qf/events', document.currentScript.src);
  if (window.top !== window) return;

  const colours = `
    :host { all: initial; color-scheme: light dark;
      --paper: #ffffff; --ink: #1f2328; --quiet: #59636e; --line: #d1d9e0; --mark: #b35900; }
    @media (prefers-color-scheme: dark) {
      :host { --paper: #1c2128; --ink: #e6edf3; --quiet: #9da7b1; --line: #3d444d; --mark: #f0a33f; } }
    @media print { :host { display: none; } }
    details { position: fixed; left: 16px; bottom: 16px; z-index: 2147483647; max-width: min(560px, calc(100vw - 32px));
      box-sizing: border-box; border: 1px solid var(--line); border-radius: 12px; background: var(--paper);
      color: var(--ink); font: 14px/1.45 system-ui, sans-serif; box-shadow: 0 4px 16px rgb(0 0 0 / 0.2); }
    summary { cursor: pointer; list-style: none; padding: 8px 14px; font-weight: 600; border-radius: 12px; }
    summary::before { content: ""; display: inline-block; width: 9px; height: 9px; margin-right: 9px;
      border-radius: 50%; background: var(--mark); }
    ul { margin: 0; padding: 0 14px 6px; list-style: none; max-height: min(50vh, 420px); overflow: auto; }
    li { padding: 9px 0; border-top: 1px solid var(--line); overflow-wrap: anywhere; }
    small { display: block; color: var(--quiet); font: 12px/1.5 ui-monospace, monospace; }`;

  const element = (name, text) => {
    const made = document.createElement(name);
    if (text) made.textContent = text;
    return made;
  };

  let overlay = null;
  const show = ({problems, more}) => {
    overlay?.remove();
    overlay = null;
    if (!problems.length || document.documentElement.hasAttribute('data-qf-report')) return;
    overlay = element('qf-preview');
    const root = overlay.attachShadow({mode: 'open'});
    const sheet = new CSSStyleSheet();
    sheet.replaceSync(colours);
    root.adoptedStyleSheets = [sheet];
    const details = element('details');
    details.open = sessionStorage.getItem('qf-preview-open') === 'yes';
    details.addEventListener('toggle', () => sessionStorage.setItem('qf-preview-open', details.open ? 'yes' : 'no'));
    const count = problems.length + more;
    details.append(element('summary', count === 1 ? '1 problem' : count + ' problems'));
    const list = element('ul');
    for (const {page, message, file} of problems) {
      const item = element('li', message);
      const place = [page && 'page ' + page, file].filter(Boolean).join(' · ');
      if (place) item.append(element('small', place));
      list.append(item);
    }
    if (more) list.append(element('li', 'and ' + more + ' more'));
    details.append(list);
    root.append(details);
    document.documentElement.append(overlay);
  };

  // Browsers allow six connections, so only pages that are seen may keep one.
  let events = null;
  const stop = () => {
    events?.close();
    events = null;
  };
  const listen = () => {
    if (events || document.hidden) return;
    events = new EventSource(address);
    events.onmessage = ({data}) => {
      const state = JSON.parse(data);
      if (state.version === version) show(state);
      else { stop(); location.reload(); }
    };
    events.onerror = () => {
      if (events.readyState !== EventSource.CLOSED) return;
      stop();
      setTimeout(listen, 1000);
    };
  };
  document.addEventListener('visibilitychange', () => document.hidden ? stop() : listen());
  listen();
})();
)JS";

constexpr const char *kReportStyle = R"CSS(
:root { color-scheme: light dark; --paper: #f6f8fa; --card: #ffffff; --ink: #1f2328; --quiet: #59636e; --line: #d1d9e0;
  --mark: #b35900; }
@media (prefers-color-scheme: dark) { :root { --paper: #0d1117; --card: #161b22; --ink: #e6edf3; --quiet: #9da7b1;
  --line: #30363d; --mark: #f0a33f; } }
body { margin: 0; padding: 8vh 24px; background: var(--paper); color: var(--ink); font: 16px/1.5 system-ui, sans-serif; }
main { max-width: 720px; margin: 0 auto; }
h1 { margin: 0 0 4px; font-size: 26px; line-height: 1.25; overflow-wrap: anywhere; }
p { margin: 0 0 24px; color: var(--quiet); }
ul { margin: 0; padding: 0; list-style: none; }
li { margin: 0 0 12px; padding: 14px 18px; border: 1px solid var(--line); border-left: 4px solid var(--mark);
  border-radius: 8px; background: var(--card); overflow-wrap: anywhere; }
li.other { border-left: 1px solid var(--line); }
small { display: block; margin-top: 4px; color: var(--quiet); font: 13px/1.5 ui-monospace, monospace; }
)CSS";

/// As text of an element; halves of surrogate pairs, which UTF-8 has none of, become question marks.
QByteArray escaped(const QString &text)
{
    return text.toHtmlEscaped().toUtf8();
}

QByteArray item(const QFReportRecord &record, bool isOther)
{
    QByteArray html = isOther ? "<li class=\"other\">" : "<li>";
    html += escaped(record.message);
    if (!record.page.isEmpty())
        html += "<small>page " + escaped(record.page) + "</small>";
    if (!record.file.isEmpty())
        html += "<small>" + escaped(record.file) + "</small>";
    return html + "</li>\n";
}

QByteArray list(QList<QFReportRecord> problems, const QString &page)
{
    const auto isOther = [&page](const QFReportRecord &record) {
        return !page.isNull() && record.page != page;
    };
    std::stable_partition(problems.begin(), problems.end(),
                          [&](const auto &record) { return !isOther(record); });
    QByteArray html = "<ul>\n";
    for (const QFReportRecord &record : problems.first(std::min(problems.size(), kMaximumShown)))
        html += item(record, isOther(record));
    if (problems.size() > kMaximumShown)
        html +=
            "<li class=\"other\">and " + QByteArray::number(problems.size() - kMaximumShown) + " more</li>\n";
    return html + "</ul>\n";
}

} // namespace

QByteArray PreviewPages::script()
{
    return kScript;
}

QByteArray PreviewPages::scriptTag(const QByteArray &host, const QByteArray &version)
{
    return "<script src=\"http://" + host + kScriptPath + "\" data-version=\"" + version + "\"></script>";
}

QByteArray PreviewPages::withScript(const QByteArray &html, const QByteArray &scriptTag, bool isXHTML)
{
    const bool isUTF16 = html.startsWith("\xFF\xFE") || html.startsWith("\xFE\xFF");
    const qsizetype end = html.toLower().lastIndexOf("</body");
    if (isUTF16 || (isXHTML && end < 0))
        return html;
    QByteArray result = html;
    return result.insert(end < 0 ? html.size() : end, scriptTag);
}

QByteArray PreviewPages::state(const PreviewReport &report, const QByteArray &version)
{
    QJsonArray problems;
    const qsizetype shown = std::min(report.problems.size(), kMaximumShown);
    for (const QFReportRecord &record : report.problems.first(shown))
        problems.append(
            QJsonObject{{u"page"_s, record.page}, {u"message"_s, record.message}, {u"file"_s, record.file}});
    return QJsonDocument(QJsonObject{{u"version"_s, QString::fromLatin1(version)},
                                     {u"problems"_s, problems},
                                     {u"more"_s, report.problems.size() - shown}})
        .toJson(QJsonDocument::Compact);
}

QByteArray PreviewPages::reportPage(const QString &heading, const PreviewReport &report, const QString &page,
                                    const QByteArray &scriptTag)
{
    QByteArray html = "<!DOCTYPE html>\n<html lang=\"en\" data-qf-report>\n<head>\n<meta charset=\"utf-8\">\n"
                      "<meta name=\"viewport\" content=\"width=device-width\">\n<title>" +
                      escaped(heading) + "</title>\n<style>" + kReportStyle +
                      "</style>\n</head>\n<body>\n<main>\n<h1>" + escaped(heading) + "</h1>\n";
    html += "<p>It appears here by itself as soon as it is there.</p>\n";
    if (!report.problems.isEmpty())
        html += list(report.problems, page);
    return html + "</main>\n" + scriptTag + "\n</body>\n</html>\n";
}
