// scripts/frame.js: keeps the page out of other sites' frames, where a click could be stolen.
'use strict';

if (window.top !== window.self) {
  document.documentElement.hidden = true;
  window.stop();
}
