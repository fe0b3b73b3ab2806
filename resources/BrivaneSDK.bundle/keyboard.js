// Keyboard navigation between the inputs of the page.
var qpInputs = [];
function qpFocusable(node) {
  return node.offsetParent !== null && !node.disabled && node.type !== "hidden";
}
function extractIframeInputs() {
  qpInputs = Array.prototype.slice
    .call(document.querySelectorAll("input, select, textarea, iframe"))
    .filter(qpFocusable);
  return qpInputs.length;
}
function qpFocusIndex() {
  if (qpInputs.length === 0) extractIframeInputs();
  return qpInputs.indexOf(document.activeElement);
}
function qpMoveFocus(step) {
  var index = qpFocusIndex();
  var next = qpInputs[index + step];
  if (next) next.focus();
  return checkFocus();
}
function nextInput() {
  return qpMoveFocus(1);
}
function prevInput() {
  return qpMoveFocus(-1);
}
function checkFocus() {
  var index = qpFocusIndex();
  qpPost("ObjC_PrevButtEnabled", index > 0);
  qpPost("ObjC_NextButtEnabled", index >= 0 && index < qpInputs.length - 1);
  return index;
}
document.addEventListener("focusin", checkFocus);
