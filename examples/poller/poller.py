#!/usr/bin/python3
"""Polls many units at once and shows their values to Prometheus.

Each unit keeps its session: a password in every call would cost the unit a hundred times as much. A unit
that does not answer holds up nobody else, and counts as silent. One that answers with a fault does not.
"""
import argparse
import asyncio
import base64
import json
import logging
import re
import time
from http.cookies import SimpleCookie

import aiohttp
import prometheus_client
from lxml import etree

ANSWER_SECONDS = 10  # a unit that takes longer counts as silent
LOGIN_PAUSE_SECONDS = 300  # after a refused login: five in a row may lock the user
MAX_NAMES = 1000  # of one coreDbReadMultData

VALUE = prometheus_client.Gauge('rtu_value', 'Value of a point', ['unit', 'type', 'point'])
GOOD = prometheus_client.Gauge('rtu_good', '1 if the quality of the value is GOOD', ['unit', 'type', 'point'])
UP = prometheus_client.Gauge('rtu_up', '1 if the last poll brought the values', ['unit'])
POLLS = prometheus_client.Counter('rtu_polls', 'Polls by outcome: ok, fault, refused, silent', ['unit', 'outcome'])
LOGINS = prometheus_client.Counter('rtu_logins', 'Logins', ['unit'])
SECONDS = prometheus_client.Gauge('rtu_poll_seconds', 'How long the last poll took', ['unit'])

SOAP = 'http://schemas.xmlsoap.org/soap/envelope/'
SERVICE = 'urn:soapServ'
PARSER = etree.XMLParser(resolve_entities=False, no_network=True)
AUTHENTICATION_ERROR = 'WebServer Error: Authentication error'


class Fault(Exception):
    """The unit answers that it cannot or will not do what was asked."""


class Refused(Exception):
    """The unit does not let the user log in."""


class Silent(Exception):
    """There is no answer, or none that this program can read."""


def envelope(operation, fields):
    root = etree.Element(f'{{{SOAP}}}Envelope', nsmap={'E': SOAP, 'n': SERVICE})
    call = etree.SubElement(etree.SubElement(root, f'{{{SOAP}}}Body'), f'{{{SERVICE}}}{operation}')
    for name, value in fields.items():
        etree.SubElement(call, name).text = str(value)
    return etree.tostring(root, encoding='utf-8', xml_declaration=True)


def result(answer):
    """Returns the text of an answer's result; an absent result is a fault."""
    try:
        root = etree.fromstring(answer, PARSER)
    except etree.XMLSyntaxError as error:
        raise Silent(f'not XML: {error}') from error
    fault = root.findtext('.//faultstring')
    text = root.findtext('.//return')
    if fault is not None or text is None:
        raise Fault(fault or 'no result')
    return text


class Unit:
    def __init__(self, name, address, settings, http):
        self.name = name
        self.address = address
        self.user = settings['user']
        self.password = settings['password']
        self.points = settings['points']
        self.http = http
        self.cookie = None  # of the session, if there is one
        self.no_login_before = 0  # by time.monotonic()

    async def post(self, body, headers):
        """Returns headers and body of the answer. aiohttp checks that it has as many bytes as announced."""
        try:
            async with self.http.post(self.address, data=body, headers=headers) as answer:
                return answer.headers, await answer.read()
        except (aiohttp.ClientError, asyncio.TimeoutError) as error:
            raise Silent(str(error) or type(error).__name__) from error

    async def log_in(self):
        """Fills the cookie. The unit sends it with an empty Domain, so cookie jars would drop it."""
        if time.monotonic() < self.no_login_before:
            raise Refused('waits before the next login')
        fields = {'cgiMethod': 'cgiLogin', 'arg1': self.user, 'arg2': self.password}
        form = {name: base64.b64encode(text.encode()).decode() for name, text in fields.items()}
        headers, answer = await self.post(form, {'Accept': 'application/json'})
        cookie = SimpleCookie(headers.get('Set-Cookie', '')).get('SESSIONID')
        if cookie is None or b'"success"' not in answer:
            self.no_login_before = time.monotonic() + LOGIN_PAUSE_SECONDS
            raise Refused('the login is refused')
        self.cookie = f'SESSIONID={cookie.value}'
        LOGINS.labels(self.name).inc()

    async def call(self, operation, fields):
        headers = {'Content-Type': 'text/xml; charset=utf-8', 'SOAPAction': '""', 'Cookie': self.cookie}
        _, answer = await self.post(envelope(operation, fields), headers)
        return result(answer)

    async def call_with_session(self, operation, fields):
        """Logs in first if there is no session, and once more if the session has ended."""
        if self.cookie is not None:
            try:
                return await self.call(operation, fields)
            except Fault as fault:
                if str(fault) != AUTHENTICATION_ERROR:
                    raise
        self.cookie = None
        await self.log_in()
        return await self.call(operation, fields)

    async def read(self, kind, names):
        """Returns value and quality of the points of one type, in their order."""
        text = await self.call_with_session('coreDbReadMultData', {
            'inputType': kind, 'inputNames': ''.join(f'[{name}]' for name in names),
            'inputFormat': '%g', 'inputNum': len(names)})
        readings = re.findall(r'\[([^]|]*)\|([^]]*)\]', text)
        if len(readings) != len(names):
            raise Fault(f'{len(readings)} readings of {len(names)} points: {text[:80]}')
        return readings

    async def poll(self):
        """Reads all points and shows them."""
        for kind, names in self.points.items():
            for first in range(0, len(names), MAX_NAMES):
                some = names[first:first + MAX_NAMES]
                for name, (value, quality) in zip(some, await self.read(kind, some)):
                    self.show(kind, name, value, quality)

    def show(self, kind, name, value, quality):
        """A point that cannot be read ([X|X]) is not shown: an old value would look like a new one."""
        try:
            number = float(value)
        except ValueError:
            self.hide(kind, name)
            return
        VALUE.labels(self.name, kind, name).set(number)
        GOOD.labels(self.name, kind, name).set(quality == 'GOOD')

    def hide(self, kind, name):
        for metric in VALUE, GOOD:
            try:
                metric.remove(self.name, kind, name)
            except KeyError:
                pass  # it was not shown

    async def poll_and_count(self):
        """Polls and returns the outcome."""
        start = time.monotonic()
        outcome, reason = 'ok', ''
        try:
            await self.poll()
        except (Fault, Refused, Silent) as error:
            outcome, reason = type(error).__name__.lower(), error
            for kind, names in self.points.items():
                for name in names:
                    self.hide(kind, name)
            logging.warning('%s: %s: %s', self.name, outcome, reason)
        UP.labels(self.name).set(outcome == 'ok')
        POLLS.labels(self.name, outcome).inc()
        SECONDS.labels(self.name).set(time.monotonic() - start)
        return outcome


async def watch(unit, slots, every, delay):
    """Polls the unit for ever. The delay spreads the units over the interval."""
    await asyncio.sleep(delay)
    while True:
        start = time.monotonic()
        async with slots:
            await unit.poll_and_count()
        await asyncio.sleep(max(0, start + every - time.monotonic()))


async def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('settings', help='JSON file: user, password, points by type, units by name')
    parser.add_argument('--port', type=int, default=9110, help='where Prometheus reads, on the loopback address')
    parser.add_argument('--every', type=float, default=10, help='seconds from poll to poll of a unit')
    parser.add_argument('--at-once', type=int, default=20, help='how many units are asked at the same time')
    options = parser.parse_args()
    with open(options.settings, encoding='utf-8') as file:
        settings = json.load(file)

    prometheus_client.start_http_server(options.port, '127.0.0.1')
    slots = asyncio.Semaphore(options.at_once)
    async with aiohttp.ClientSession(  # a unit closes the connection after each answer
            connector=aiohttp.TCPConnector(force_close=True, limit=0), cookie_jar=aiohttp.DummyCookieJar(),
            timeout=aiohttp.ClientTimeout(total=ANSWER_SECONDS)) as http:
        units = [Unit(name, address, settings, http) for name, address in settings['units'].items()]
        await asyncio.gather(*(watch(unit, slots, options.every, options.every * i / len(units))
                               for i, unit in enumerate(units)))


if __name__ == '__main__':
    logging.basicConfig(format='%(asctime)s %(message)s')
    try:
        asyncio.run(main())
    except KeyboardInterrupt:
        pass
