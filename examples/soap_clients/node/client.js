// client.js ADDRESS 1.1|1.2 header|cookie: calls all operations of a unit with the package soap.
import { readFileSync } from 'node:fs';
import { isDeepStrictEqual } from 'node:util';
import soap from 'soap';

const [address, version, authentication] = process.argv.slice(2);

// The client is made from the unit's WSDL, which does not contain the unit's address.
const WSDLS = { '1.1': '/lan/soapServ.xml', '1.2': '/lan/soapServ12.xml' };
const unit = await soap.createClientAsync(address + WSDLS[version], {
  endpoint: address,
  forceSoap12Headers: version === '1.2', // the package does not take the version from the WSDL
  preserveWhitespace: true, // otherwise texts lose the spaces at their ends
});

// Sends the password in the header of each call, in an element without a namespace.
function sendPassword(user, password) {
  const escaped = `${user}:${password}`.replaceAll('&', '&amp;').replaceAll('<', '&lt;');
  unit.addSoapHeader(`<Authentication>${escaped}</Authentication>`);
}

// Logs in as a browser does. The type is set because fetch would add a charset, and the unit would then
// not take the body for a form. The cookie is sent by hand in each later call.
async function logIn(user, password) {
  const field = text => Buffer.from(text).toString('base64');
  const form = { cgiMethod: field('cgiLogin'), arg1: field(user), arg2: field(password) };
  const answer = await fetch(address, {
    method: 'POST',
    headers: { 'Content-Type': 'application/x-www-form-urlencoded' },
    body: new URLSearchParams(form),
  });
  const cookie = /SESSIONID=[^;]+/.exec(answer.headers.get('set-cookie'));
  if (cookie === null)
    throw new Error(`The login was refused: ${await answer.text()}`);
  unit.addHttpHeader('Cookie', cookie[0]);
}

// Returns the result, null if the answer has none, or the fault's text and detail.
async function call(operation, fields) {
  try {
    // For example unit.coreDbReadDataAsync({ inputType: 'analog', inputName: 'FDR1_IA', ... }).
    const [answer] = await unit[`${operation}Async`](fields);
    return answer === null ? null : answer.return; // with SOAP 1.2 a number arrives as text
  } catch (error) {
    const fault = error.root?.Envelope?.Body?.Fault;
    if (fault === undefined)
      throw error; // there was no answer at all
    return {
      fault: fault.faultstring ?? fault.Reason.Text.$value, // SOAP 1.1 and 1.2
      detail: fault.detail ?? fault.Detail,
    };
  }
}

let checks = 0;
const called = new Set();

function check(what, isRight, outcome) {
  if (!isRight) {
    console.error(`WRONG: ${what}: ${JSON.stringify(outcome)}`);
    process.exit(1);
  }
  ++checks;
}

async function checkCall({ operation, fields, matches, fault, detail, returns }) {
  let outcome = await call(operation, fields);
  if (typeof returns === 'number' && outcome !== null)
    outcome = parseInt(outcome, 10);
  const isRight = matches !== undefined
    ? new RegExp(matches).test(outcome)
    : isDeepStrictEqual(outcome, fault !== undefined ? { fault, detail } : returns);
  check(operation, isRight, outcome);
  called.add(operation);
  const text = outcome?.fault === undefined ? outcome : `${outcome.fault}: ${outcome.detail}`;
  console.log(operation, text);
}

const calls = JSON.parse(readFileSync(new URL('../calls.json', import.meta.url), 'utf8'));
for (const expected of calls.unauthenticated)
  await checkCall(expected);
await { header: sendPassword, cookie: logIn }[authentication]('admin', 'admin');
for (const expected of calls.authenticated)
  await checkCall(expected);

const ENVELOPES = {
  '1.1': 'http://schemas.xmlsoap.org/soap/envelope/',
  '1.2': 'http://www.w3.org/2003/05/soap-envelope',
};
const answer = unit.lastResponse;
check('SOAP version of the answer', answer.includes(`"${ENVELOPES[version]}"`), answer);
const counts = `${called.size} operations, ${checks} checks`;
console.log(`node, SOAP ${version}, ${authentication}: ${counts}`);
