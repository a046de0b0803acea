<?php
// client.php ADDRESS 1.1|1.2 header|cookie: calls all operations of a unit with PHP's SoapClient.
[, $address, $version, $authentication] = $argv;

// The client is made from the unit's WSDL, which does not contain the unit's address.
const WSDLS = ['1.1' => '/lan/soapServ.xml', '1.2' => '/lan/soapServ12.xml'];
$unit = new SoapClient($address . WSDLS[$version], [
    'location' => $address,
    'soap_version' => $version === '1.2' ? SOAP_1_2 : SOAP_1_1, // PHP does not take it from the WSDL
    'cache_wsdl' => WSDL_CACHE_NONE, // otherwise PHP keeps the WSDL in /tmp for a day
    'trace' => true, // for __getLastResponse
]);

// Sends the password in the header of each call, in an element without a namespace. SoapHeader cannot
// make such an element, so its content is the ready XML of the element.
function sendPassword(SoapClient $unit, string $user, string $password): void
{
    $xml = '<Authentication>' . htmlspecialchars("$user:$password", ENT_XML1) . '</Authentication>';
    $content = new SoapVar($xml, XSD_ANYXML);
    $unit->__setSoapHeaders(new SoapHeader('urn:soapServ', 'Authentication', $content));
}

// Logs in as a browser does. The cookie is sent by hand in each later call.
function logIn(SoapClient $unit, string $address, string $user, string $password): void
{
    $fields = ['cgiMethod' => 'cgiLogin', 'arg1' => $user, 'arg2' => $password];
    $page = file_get_contents($address, false, stream_context_create(['http' => [
        'method' => 'POST',
        'header' => 'Content-Type: application/x-www-form-urlencoded',
        'content' => http_build_query(array_map('base64_encode', $fields)),
    ]]));
    if (!preg_match('/SESSIONID=([^;]+)/', implode("\n", $http_response_header), $cookie))
        throw new Exception("The login was refused: $page");
    $unit->__setCookie('SESSIONID', $cookie[1]);
}

// Returns the result, null if the answer has none, or the fault's text and detail.
function call(SoapClient $unit, string $operation, array $fields)
{
    try {
        // For example $unit->coreDbReadData(['inputType' => 'analog', ...])->return.
        return $unit->$operation($fields)->return ?? null;
    } catch (SoapFault $fault) {
        if (!isset($fault->detail))
            throw $fault; // there was no answer at all
        return ['fault' => $fault->faultstring, 'detail' => $fault->detail];
    }
}

$checks = 0;
$called = [];

function check(string $what, bool $isRight, $outcome): void
{
    global $checks;
    if (!$isRight) {
        fwrite(STDERR, "WRONG: $what: " . var_export($outcome, true) . "\n");
        exit(1);
    }
    ++$checks;
}

function checkCall(SoapClient $unit, array $expected): void
{
    global $called;
    $operation = $expected['operation'];
    $outcome = call($unit, $operation, $expected['fields']);
    if (isset($expected['matches']))
        $isRight = is_string($outcome) && preg_match("/$expected[matches]/", $outcome);
    else if (isset($expected['fault']))
        $isRight = $outcome === ['fault' => $expected['fault'], 'detail' => $expected['detail']];
    else
        $isRight = $outcome === $expected['returns'];
    check($operation, $isRight, $outcome);
    $called[$operation] = true;
    $text = is_array($outcome) ? implode(': ', $outcome) : $outcome ?? 'null';
    echo "$operation $text\n";
}

$json = file_get_contents(__DIR__ . '/../calls.json');
$calls = json_decode($json, true, flags: JSON_THROW_ON_ERROR);
foreach ($calls['unauthenticated'] as $expected)
    checkCall($unit, $expected);
match ($authentication) {
    'header' => sendPassword($unit, 'admin', 'admin'),
    'cookie' => logIn($unit, $address, 'admin', 'admin'),
};
foreach ($calls['authenticated'] as $expected)
    checkCall($unit, $expected);

const ENVELOPES = [
    '1.1' => 'http://schemas.xmlsoap.org/soap/envelope/',
    '1.2' => 'http://www.w3.org/2003/05/soap-envelope',
];
$answer = $unit->__getLastResponse();
check('SOAP version of the answer', str_contains($answer, '"' . ENVELOPES[$version] . '"'), $answer);
$counts = count($called) . " operations, $checks checks";
echo "php, SOAP $version, $authentication: $counts\n";
