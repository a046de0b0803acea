#!/usr/bin/python3
"""client.py ADDRESS 1.1|1.2 header|cookie: calls all operations of a unit with zeep."""
import base64
import json
import re
import sys
from http.cookies import SimpleCookie
from pathlib import Path

import zeep
from lxml import etree
from zeep.exceptions import Fault
from zeep.plugins import HistoryPlugin

address, version, authentication = sys.argv[1:]

# The client is made from the unit's WSDL, which does not contain the unit's address.
WSDLS = {'1.1': '/lan/soapServ.xml', '1.2': '/lan/soapServ12.xml'}
history = HistoryPlugin()
client = zeep.Client(address + WSDLS[version], plugins=[history])
unit = client.create_service('{urn:soapServ}soapServ', address)


def send_password(user, password):
    """Sends the password in the header of each call, in an element without a namespace."""
    element = etree.Element('Authentication')
    element.text = f'{user}:{password}'
    client.set_default_soapheaders([element])


def log_in(user, password):
    """Logs in as a browser does. Python drops a cookie with an empty Domain: it is sent by hand."""
    fields = {'cgiMethod': 'cgiLogin', 'arg1': user, 'arg2': password}
    form = {name: base64.b64encode(text.encode()) for name, text in fields.items()}
    session = client.transport.session  # of the package requests
    answer = session.post(address, data=form)
    cookie = SimpleCookie(answer.headers.get('Set-Cookie')).get('SESSIONID')
    if cookie is None:
        sys.exit(f'The login was refused: {answer.text}')
    session.headers['Cookie'] = f'SESSIONID={cookie.value}'


def call(operation, fields):
    """Returns the result, None if the answer has none, or the fault's text and detail."""
    try:
        # For example unit.coreDbReadData(inputType='analog', inputName='FDR1_IA', inputFormat='%g').
        return unit[operation](**fields)
    except Fault as fault:
        return {'fault': fault.message, 'detail': fault.detail.text}


checks = 0
called = set()


def check(what, is_right, outcome):
    global checks
    if not is_right:
        sys.exit(f'WRONG: {what}: {outcome!r}')
    checks += 1


def check_call(expected):
    operation = expected['operation']
    outcome = call(operation, expected['fields'])
    if 'matches' in expected:
        is_right = isinstance(outcome, str) and re.search(expected['matches'], outcome)
    elif 'fault' in expected:
        is_right = outcome == {name: expected[name] for name in ('fault', 'detail')}
    else:
        is_right = outcome == expected['returns']
    check(operation, is_right, outcome)
    called.add(operation)
    print(operation, ': '.join(outcome.values()) if 'fault' in expected else outcome)


calls = json.loads((Path(__file__).parents[1] / 'calls.json').read_text(encoding='utf-8'))
for expected in calls['unauthenticated']:
    check_call(expected)
{'header': send_password, 'cookie': log_in}[authentication]('admin', 'admin')
for expected in calls['authenticated']:
    check_call(expected)

ENVELOPES = {'1.1': 'http://schemas.xmlsoap.org/soap/envelope/',
             '1.2': 'http://www.w3.org/2003/05/soap-envelope'}
envelope = etree.QName(history.last_received['envelope']).namespace
check('SOAP version of the answer', envelope == ENVELOPES[version], envelope)
print(f'zeep, SOAP {version}, {authentication}: {len(called)} operations, {checks} checks')
