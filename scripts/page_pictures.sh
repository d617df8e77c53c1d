#!/usr/bin/env bash
# Makes the pictures of the device's page for the documentation, docs/images/page*.png, with Chromium.
#
#   scripts/page_pictures.sh
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/steps.sh

install_packages "${picture_packages[@]}" chromium chromium-driver graphviz imagemagick python3-selenium
build dev vesk-video-service veskctl veskctl_web

PATH=$PWD/build/dev/tools/veskctl:$PATH
VESK_RUNTIME_DIR=$(mktemp -d)
export PATH VESK_RUNTIME_DIR VESK_LOG_TARGET=none
finish() {
  local jobs
  jobs=$(jobs -p)
  # shellcheck disable=SC2086 # several numbers
  [ -z "$jobs" ] || kill $jobs 2>/dev/null || true
  wait
  rm -rf "$VESK_RUNTIME_DIR"
}
trap finish EXIT

build/dev/service/vesk-video-service &
veskctl wait-service
veskctl web > "$VESK_RUNTIME_DIR/address" &
cat > "$VESK_RUNTIME_DIR/application" <<'END'
OPEN_VI_PORT viPort=0
OPEN_VI_PORT viPort=2
VI_START inEngNo=1001
VI_START inEngNo=1002
DEC_CREATE
SET_DEC_PARAM decStmNo=4001 w=1280 h=720
DEC_START decStmNo=4001
OPEN_VO_PORT voPort=0
OPEN_VO_PORT voPort=1
SET_VO_SRC outEngNo=2001 picNum=2 subPic[0].inputId=1001 subPic[1].inputId=1002 subPic[1].window.x=2560 subPic[1].window.y=160 subPic[1].window.width=1120 subPic[1].window.height=630
SET_VO_SRC outEngNo=2002 picNum=4 subPic[0].inputId=1002 subPic[1].inputId=1001 subPic[2].decFlag=1 subPic[2].inputId=4001 subPic[3].inputId=1002
VO_START outEngNo=2001
device fault add VO_START outEngNo=2002 result BUSY --count 1
expect BUSY VO_START outEngNo=2002
VO_START outEngNo=2002
OPEN_LOCAL_MOUSE
START_LOCAL_MOUSE localMouseStmNo=7001
wait VIDEO_DIE timeout=600000
END
until [ -s "$VESK_RUNTIME_DIR/address" ]; do sleep 0.1; done

mkdir -p docs/images
/usr/bin/python3 - "$(cat "$VESK_RUNTIME_DIR/address")" "$VESK_RUNTIME_DIR/application" <<'END'
import subprocess
import sys
import time
from selenium import webdriver

options = webdriver.ChromeOptions()
options.binary_location = "/usr/bin/chromium"
for argument in ["--headless=new", "--no-sandbox", "--hide-scrollbars"]:
    options.add_argument(argument)
driver = webdriver.Chrome(service=webdriver.chrome.service.Service("/usr/bin/chromedriver"), options=options)
driver.get(sys.argv[1])
time.sleep(2)  # until messages are watched
application = subprocess.Popen(["veskctl", "run", sys.argv[2]], stdout=subprocess.DEVNULL)
time.sleep(1)
for name, width, height, scheme in [("page", 1280, 1010, "light"), ("page_narrow", 390, 844, "dark")]:
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                           {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
    driver.execute_cdp_cmd("Emulation.setEmulatedMedia",
                           {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
    driver.get(sys.argv[1])
    time.sleep(2)
    driver.execute_script("document.querySelectorAll('.layer')[1].focus({ preventScroll: true })")
    time.sleep(1)
    driver.save_screenshot(f"docs/images/{name}.png")
    print(f"docs/images/{name}.png")
application.terminate()
driver.quit()
END
mogrify -strip +dither -colors 255 docs/images/page.png docs/images/page_narrow.png # a third of the size
