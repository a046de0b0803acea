// core/soap.js: calls the unit's SOAP 1.1 operations. Envelopes are built and read as documents.
'use strict';

const soap = (() => {
  const ENVELOPE = 'http://schemas.xmlsoap.org/soap/envelope/';
  const SERVICE = 'urn:soapServ';
  const HEADERS = { 'Content-Type': 'text/xml; charset=utf-8', 'SOAPAction': '""' };

  class Fault extends Error {} // the unit answered with a fault

  function faultOf(element) {
    const text = textOf(element, 'faultstring') || 'fault';
    const detail = (textOf(element, 'detail') || '').trim();
    return new Fault(`the unit refused: ${text}${detail === '' ? '' : ` (${detail})`}.`);
  }

  function envelope(operation, parameters) {
    const xml = document.implementation.createDocument(ENVELOPE, 'E:Envelope');
    const body = xml.documentElement.appendChild(xml.createElementNS(ENVELOPE, 'E:Body'));
    const call = body.appendChild(xml.createElementNS(SERVICE, `n:${operation}`));
    for (const [name, value] of Object.entries(parameters))
      call.appendChild(xml.createElementNS(null, name)).textContent = value;
    return new XMLSerializer().serializeToString(xml);
  }

  function textOf(parent, name) {
    const child = [...parent.children].find(candidate => candidate.localName === name);
    return child === undefined ? null : child.textContent;
  }

  // Returns the result as text, or null if the answer has no result.
  function resultOf(answer, operation) {
    const xml = new DOMParser().parseFromString(answer, 'text/xml');
    const fault = xml.getElementsByTagNameNS(ENVELOPE, 'Fault')[0];
    if (fault !== undefined)
      throw faultOf(fault);
    const response = xml.getElementsByTagNameNS(SERVICE, `${operation}Response`)[0];
    if (response === undefined)
      throw new Error('The answer cannot be understood');
    return textOf(response, 'return');
  }

  const post = (operation, parameters, send) => send('/', HEADERS, envelope(operation, parameters));

  const call = async (operation, parameters = {}) =>
    resultOf(await post(operation, parameters, link.post), operation);

  // Calls an operation that changes the unit, now or never. Returns its status.
  async function act(operation, parameters = {}) {
    const answer = await link.act(() => post(operation, parameters,
      (url, headers, body) => link.exchange(url, { method: 'POST', headers, body })));
    const result = resultOf(answer, operation);
    if (result === null)
      throw new Error('The unit answered without a result');
    return Number(result);
  }

  // Returns what became of an action, for the person who asked for it. Kinds: good, bad, unsure.
  async function outcomeOf(what, action) {
    try {
      return await action();
    } catch (error) {
      if (error instanceof link.NotSent)
        return { kind: 'bad', text: `Not sent: ${what}. ${error.message}` };
      if (error instanceof Fault)
        return { kind: 'bad', text: `${what}: ${error.message}` };
      const why = error instanceof link.NoAnswer ? 'No answer' : error.message;
      return { kind: 'unsure', text: `${why}: ${what} may or may not have been done. Look before you try again.` };
    }
  }

  // Calls an operation that changes the unit, and returns the outcome. meanings: of other statuses than 0.
  const perform = (what, operation, parameters, meanings = {}) => outcomeOf(what, async () => {
    const status = await act(operation, parameters);
    return status === 0 ? { kind: 'good', text: `${what}: done.` }
      : { kind: 'bad', text: `${what}: ${meanings[status] || `the unit answered ${status}`}.` };
  });

  return { Fault, call, outcomeOf, perform };
})();
