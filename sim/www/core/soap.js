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
    return new Fault(`The unit refused: ${text}${detail === '' ? '' : ` (${detail})`}.`);
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
      throw new Error('The answer cannot be understood.');
    return textOf(response, 'return');
  }

  // call('coreDbReadData', {inputType: 'analog', ...}) is a person's request, poll(...) one of the page.
  async function send(operation, parameters, isPoll) {
    const answer = await link.post('/', HEADERS, envelope(operation, parameters), isPoll);
    return resultOf(answer, operation);
  }

  // Returns the result as a number: many operations answer with a status.
  async function status(operation, parameters) {
    const result = await send(operation, parameters, false);
    if (result === null)
      throw new Error('The unit answered without a result.');
    return Number(result);
  }

  // Returns the outcome of a person's action as {good, text}: the action's own, or why it failed.
  async function outcomeOf(action) {
    try {
      return await action();
    } catch (error) {
      const unsure = error instanceof link.NoAnswer
        ? ' Whether it has done what was asked is not known: look before you try again.' : '';
      return { good: false, text: error.message + unsure };
    }
  }

  return {
    Fault,
    call: (operation, parameters = {}) => send(operation, parameters, false),
    poll: (operation, parameters = {}) => send(operation, parameters, true),
    status,
    outcomeOf,
  };
})();
