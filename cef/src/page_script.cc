// The page side of the engine: runs in every document before the page's own script.
#include "engine.h"

namespace vexorcef {

std::string BuildPageScript() {
  std::string dialog_url;
  jsonEscape(kDialogUrl, dialog_url);
  return R"JS((function () {
  'use strict';
  if (window.__vexorEngineDeliver) return;
  var binding = window.__vexorEngine;
  if (typeof binding !== 'function') return;
  try { delete window.__vexorEngine; } catch (e) {}
  var post = function (obj) { try { binding(JSON.stringify(obj)); } catch (e) {} };
  var routers = {};
  var ctx = Math.floor(Math.random() * 0x7ffffffe) + 1;
  var hidden = function (name, value) {
    Object.defineProperty(window, name, {value: value, configurable: false, writable: false});
  };
  hidden('__vexorEngineDeliver', function (msg) {
    var r = routers[msg && msg.name];
    if (r) r(msg.args || []);
  });
  hidden('__vexorEngineAddRouter', function (queryName, cancelName) {
    if (routers[queryName + 'Msg']) return;
    var nextId = 1;
    var pending = new Map();
    window[queryName] = function (q) {
      if (!q || typeof q !== 'object' || typeof q.request !== 'string')
        throw new TypeError('Invalid query: expected {request: string, ...}');
      var id = nextId++;
      pending.set(id, {s: q.onSuccess, f: q.onFailure, p: !!q.persistent});
      post({k: 'msg', frame: true, name: queryName + 'Msg',
            args: [ctx, id, q.request, !!q.persistent]});
      return id;
    };
    window[cancelName] = function (id) {
      if (!pending.delete(id)) return;
      post({k: 'msg', frame: true, name: cancelName + 'Msg', args: [ctx, id]});
    };
    routers[queryName + 'Msg'] = function (args) {
      if (args[0] !== ctx) return;
      var q = pending.get(args[1]);
      if (!q) return;
      if (args[2] === true) {
        if (!q.p) pending.delete(args[1]);
        if (typeof q.s === 'function') q.s(args[3]);
      } else {
        pending.delete(args[1]);
        if (typeof q.f === 'function') q.f(args[3], args[4]);
      }
    };
  });

  // Chromium draws alert, confirm and prompt inside the page besides the client's dialog: they
  // ask the engine instead, blocking as a dialog does, with a request it holds until the
  // client answers. Where no request may go (a page's content policy, a page being left),
  // Chromium's own dialog remains.
  var Request = XMLHttpRequest, requestApi = Request.prototype;
  var open = requestApi.open, send = requestApi.send;
  var status = Object.getOwnPropertyDescriptor(requestApi, 'status').get;
  var responseText = Object.getOwnPropertyDescriptor(requestApi, 'responseText').get;
  var toJson = JSON.stringify, fromJson = JSON.parse, encode = encodeURIComponent;
  var ask = function (question) {
    try {
      var r = new Request();
      open.call(r, 'GET', )JS" + dialog_url + R"JS( + '?' + encode(toJson(question)), false);
      send.call(r);
      return status.call(r) === 200 ? fromJson(responseText.call(r)) : null;
    } catch (e) {
      return null;
    }
  };
  var text = function (v) { return v === undefined ? '' : String(v); };
  var answers = {alert: function () {},
                 confirm: function (a) { return a.accept === true; },
                 prompt: function (a) { return a.accept === true ? String(a.text) : null; }};
  Object.keys(answers).forEach(function (type) {
    var chromiums = window[type];
    window[type] = function (message, value) {
      var answer = ask({type: type, message: text(message), text: type === 'prompt' ? text(value) : ''});
      return answer ? answers[type](answer) : chromiums.apply(window, arguments);
    };
  });

  // Chromium offers no way to take focus away from a page: focus out is played here.
  var engineFocus = true, lastActive = null;
  var realHasFocus = Document.prototype.hasFocus;
  Document.prototype.hasFocus = function () {
    return engineFocus && realHasFocus.call(this);
  };
  hidden('__vexorEngineFocus', function (on) {
    if (on === engineFocus) return;
    engineFocus = on;
    if (!on) {
      lastActive = document.activeElement;
      if (lastActive && lastActive !== document.body && lastActive.blur) lastActive.blur();
      window.dispatchEvent(new FocusEvent('blur'));
    } else {
      window.dispatchEvent(new FocusEvent('focus'));
      if (lastActive && lastActive.isConnected && lastActive.focus) lastActive.focus();
      lastActive = null;
    }
    setTimeout(checkFocus, 0);
  });
  var textTypes = {'': 1, text: 1, search: 1, url: 1, tel: 1, email: 1, password: 1,
                   number: 1, date: 1, 'datetime-local': 1, month: 1, time: 1, week: 1};
  var editable = function (el) {
    if (!el) return false;
    if (el.isContentEditable) return true;
    var tag = el.tagName;
    if (tag === 'TEXTAREA') return !el.readOnly && !el.disabled;
    if (tag === 'INPUT') {
      var t = (el.getAttribute('type') || '').toLowerCase();
      return !!textTypes[t] && !el.readOnly && !el.disabled;
    }
    return false;
  };
  var lastEditable = false;
  var checkFocus = function () {
    var el = document.activeElement;
    // Inside a frame, the frame's own document reports.
    if (el && (el.tagName === 'IFRAME' || el.tagName === 'FRAME')) return;
    var now = editable(el) && document.hasFocus();
    if (now !== lastEditable) {
      lastEditable = now;
      post({k: 'msg', name: 'renderer.focused_node_changed', args: [now]});
    }
    if (now) post({k: 'focus'});
  };
  var later = function () { setTimeout(checkFocus, 0); };
  window.addEventListener('focusin', later, true);
  window.addEventListener('focusout', later, true);
  window.addEventListener('focus', later, true);
  window.addEventListener('blur', later, true);

  window.addEventListener('contextmenu', function (e) {
    e.preventDefault();
    var t = e.target, link = '';
    for (var n = t; n; n = n.parentElement) {
      if (n.tagName === 'A' && n.href) { link = n.href; break; }
    }
    var sel = '';
    try { sel = String(window.getSelection() || ''); } catch (x) {}
    post({k: 'ctx', x: Math.round(e.clientX), y: Math.round(e.clientY), link: link,
          selection: sel, editable: editable(t)});
  }, true);

  // New windows are offered to the engine here, before Chromium makes anything: Chromium
  // may start a new window's first load before the engine can stop it. As with a refused
  // popup, window.open() returns null.
  var offer = function (url, name, features) {
    var abs;
    try {
      abs = (url === undefined || url === null || String(url) === '') ? 'about:blank'
          : new URL(String(url), document.baseURI).href;
    } catch (e) { abs = String(url); }
    post({k: 'open', url: abs, name: name === undefined || name === null ? '' : String(name),
          features: features === undefined || features === null ? '' : String(features),
          gesture: !!(navigator.userActivation && navigator.userActivation.isActive)});
  };
  window.open = function (url, name, features) { offer(url, name, features); return null; };
  window.addEventListener('click', function (e) {
    if (e.defaultPrevented || e.button !== 0) return;
    for (var n = e.target; n; n = n.parentElement) {
      if (n.tagName !== 'A' && n.tagName !== 'AREA') continue;
      var t = (n.getAttribute('target') || '').toLowerCase();
      if (!n.href || n.hasAttribute('download') || t === '' || t === '_self' || t === '_top' ||
          t === '_parent') return;
      e.preventDefault();
      offer(n.href, t, '');
      return;
    }
  }, false);

  if (window.top === window) {
    var lastTitle = null;
    var checkTitle = function () {
      var t = document.title;
      if (t !== lastTitle) { lastTitle = t; post({k: 'title', title: t}); }
    };
    new MutationObserver(checkTitle).observe(document,
        {subtree: true, childList: true, characterData: true});
    document.addEventListener('DOMContentLoaded', checkTitle);
    window.close = function () { post({k: 'close'}); };
  }
})();
)JS";
}

std::string RouterScript(const std::string& query_fn, const std::string& cancel_fn) {
  std::string q, c;
  jsonEscape(query_fn, q);
  jsonEscape(cancel_fn, c);
  return "\nwindow.__vexorEngineAddRouter&&window.__vexorEngineAddRouter(" + q + "," + c + ");\n";
}

}  // namespace vexorcef
